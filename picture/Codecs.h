#pragma once

namespace tarn::picture
{

/// Registers decoders with the toolkit for as long as it lives: JPEG, JPEG-LS and RLE. One at a time in a process, and
/// not while another thread reads images.
class Codecs
{
public:
  Codecs();
  ~Codecs();
  Codecs(const Codecs&) = delete;
  Codecs& operator=(const Codecs&) = delete;
};

} // namespace tarn::picture
