#pragma once

#include "archive/journal/JsonLine.h"

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

namespace tarn::archive
{

/// Keeps the order in which fields were put.
using Json = nlohmann::ordered_json;

/// `bytes` where they are UTF-8 (RFC 3629); else each byte that is not part of a sequence as `\xNN`.
std::string readable(std::string_view bytes);

/// `json`, of one line, with all control characters and marks of direction as `\uNNNN`: the same value, and harmless on
/// a terminal.
std::string shownJson(const std::string& json);

/// Puts a path as "input", readable, and where that is not the path itself also as "input_hex".
void putInput(JsonLine& line, const std::string& path);
/// The bytes that digits in pairs stand for.
std::string fromHex(std::string_view digits);
/// The path that putInput() put. Throws std::runtime_error where there is none.
std::string inputOf(const Json& json);

} // namespace tarn::archive
