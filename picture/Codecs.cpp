// The module that renders, loaded when a picture is first drawn.
#include "picture/Codecs.h"

#include "base/loadModule.h"
#include "picture/render/encapsulation.h"
#include "picture/Refusal.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dccodec.h>

namespace tarn::picture
{
namespace
{

template <class Function>
Function* entryOf(const char* name)
{
  try
  {
    return reinterpret_cast<Function*>(base::loadModule(ANNOMEND_RENDER_MODULE, name));
  }
  catch (const std::runtime_error& failure)
  {
    throw Refusal("module-missing", std::string("what draws pictures cannot be loaded: ") + failure.what());
  }
}

void useDecoders(bool use)
{
  static const auto entry = entryOf<decltype(annomend_use_decoders)>("annomend_use_decoders");
  entry(use);
}

} // namespace

Codecs::Codecs()
{
  useDecoders(true);
}

Codecs::~Codecs()
{
  useDecoders(false);
}

/// JPEG 2000 is decoded beside the toolkit.
bool isDecodable(E_TransferSyntax syntax)
{
  return !isEncapsulated(syntax) || syntax == EXS_JPEG2000LosslessOnly || syntax == EXS_JPEG2000 ||
         DcmCodecList::canChangeCoding(syntax, EXS_LittleEndianExplicit);
}

std::string renderJpeg(const FrameOrder& order)
{
  static const auto entry = entryOf<decltype(annomend_render_jpeg)>("annomend_render_jpeg");
  std::string jpeg;
  if (!entry(order, jpeg))
    throw Refusal("pixels-unreadable", "the pixels cannot be read: " + jpeg);
  return jpeg;
}

} // namespace tarn::picture
