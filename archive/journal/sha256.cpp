// Digests by OpenSSL's libcrypto.
#include "archive/journal/sha256.h"

#include <openssl/evp.h>

#include <stdexcept>

namespace tarn::archive
{

std::array<std::uint8_t, 32> sha256(std::string_view bytes)
{
  std::array<std::uint8_t, 32> digest{};
  if (EVP_Digest(bytes.data(), bytes.size(), digest.data(), nullptr, EVP_sha256(), nullptr) != 1)
    throw std::runtime_error("SHA-256 cannot be calculated");
  return digest;
}

std::string sha256Hex(std::string_view bytes)
{
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const std::uint8_t byte : sha256(bytes))
    text.append(1, kDigits[byte >> 4U]).append(1, kDigits[byte & 0xFU]);
  return text;
}

} // namespace tarn::archive
