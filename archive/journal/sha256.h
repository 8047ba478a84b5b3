#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace tarn::archive
{

/// The SHA-256 of the bytes (FIPS 180-4). Throws std::runtime_error where the library cannot calculate it.
std::array<std::uint8_t, 32> sha256(std::string_view bytes);
/// The same as 64 hexadecimal digits.
std::string sha256Hex(std::string_view bytes);

} // namespace tarn::archive
