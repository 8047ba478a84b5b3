#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>
#include <dcmtk/dcmdata/dcostrmb.h>

namespace tarn::dicom
{

/// Encodes `object` by calls of `write(stream)`, one for each filling of `buffer`. What has filled it goes to
/// `sink(bytes, length)`, whose condition ends the run when it is bad.
template <class Write, class Sink>
OFCondition encodeThrough(char* buffer, offile_off_t size, DcmObject& object, Write write, Sink sink)
{
  DcmOutputBufferStream stream(buffer, size);
  const auto drain = [&]
  {
    void* bytes = nullptr;
    offile_off_t length = 0;
    stream.flushBuffer(bytes, length);
    return sink(static_cast<const char*>(bytes), static_cast<std::size_t>(length));
  };
  object.transferInit();
  OFCondition status = EC_StreamNotifyClient;
  while (status == EC_StreamNotifyClient)
  {
    status = write(stream);
    if (status.good() || status == EC_StreamNotifyClient)
      if (const OFCondition drained = drain(); drained.bad())
        status = drained;
  }
  object.transferEnd();
  while (status.good() && !stream.isFlushed())
  {
    stream.flush();
    status = drain();
  }
  return status;
}

} // namespace tarn::dicom
