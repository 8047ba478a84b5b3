#pragma once

#include "archive/journal/textJson.h"

#include <string>
#include <string_view>

namespace tarn::archive
{

/// A call of the page's script, "report.NAME(NUMBER, 'JSON');": the data of the page are scripts, since a page that is
/// opened from a disk may load nothing else.
std::string scriptCall(std::string_view function, std::uint64_t number, std::string_view json);

/// Bytes of an archive as a text of UTF-8, cut where it is longer than `most` bytes.
std::string shortText(const std::string& bytes, std::size_t most);

} // namespace tarn::archive
