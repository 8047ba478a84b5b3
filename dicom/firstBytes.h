#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tarn::dicom
{

/// As many bytes of a file as sopClassIn() is to be given: what stands before the SOP Class UID of an object is short.
constexpr std::size_t kFirstBytes = 4096;

/// The SOP Class UID of the object whose file begins with `bytes`: Media Storage SOP Class UID (0002,0002) of its file
/// meta information (PS3.10 7.1), or else SOP Class UID (0008,0016) of the data set, in any uncompressed transfer
/// syntax, with or without preamble and meta information. Nothing where the bytes are no beginning of a DICOM object.
/// Allocates nothing but the result, and reads within `bytes` whatever they say.
std::optional<std::string> sopClassIn(std::string_view bytes);

} // namespace tarn::dicom
