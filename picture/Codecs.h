#pragma once

#include "picture/render/renderModule.h"

#include <string>

namespace tarn::picture
{

/// Registers decoders with the toolkit for as long as it lives: JPEG, JPEG-LS and RLE. One at a time in a process, and
/// not while another thread reads images. Throws Refusal where the module that holds them cannot be loaded.
class Codecs
{
public:
  Codecs();
  ~Codecs();
  Codecs(const Codecs&) = delete;
  Codecs& operator=(const Codecs&) = delete;
};

/// Whether the pixels of an image can be decoded.
bool isDecodable(E_TransferSyntax syntax);

/// As annomend_render_jpeg(), by the module. Throws Refusal.
std::string renderJpeg(const FrameOrder& order);

} // namespace tarn::picture
