#pragma once

#include <optional>
#include <string>

namespace tarn
{

/// The bytes of the file at `path`, nothing where there is no such file. Throws IMException, its text the system's
/// reason, where it cannot be read: part of a file is never taken for the whole.
std::optional<std::string> fileContent(const std::string& path);

} // namespace tarn
