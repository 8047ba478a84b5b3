// Values of elements as bytes and as keys.
#include "dicom/values.h"

#include "base/text.h"
#include "dicom/failure.h"

namespace tarn::dicom
{

OFCondition readBytes(DcmElement& element, std::string& bytes)
{
  bytes.clear();
  const Uint32 length = element.getLengthField();
  if (length == 0)
    return EC_Normal;
  if (!element.isLeaf())
    return EC_InvalidVR;
  // What the length field announces is in the file: loading failed otherwise.
  bytes.resize(length);
  const OFCondition status = element.getPartialValue(bytes.data(), 0, length, nullptr, EBO_LittleEndian);
  if (status.bad())
    bytes.clear();
  return status;
}

OFCondition readText(DcmItem& item, const DcmTagKey& tag, std::string& text)
{
  text.clear();
  DcmElement* element = nullptr;
  OFCondition status = item.findAndGetElement(tag, element);
  if (status.good())
    status = readBytes(*element, text);
  if (status.bad())
    return status;
  text = base::trimmed(text.substr(0, text.find('\0')));
  return text.empty() ? failure("Value is empty") : status;
}

OFCondition readUid(DcmItem& item, const DcmTagKey& tag, std::string& uid)
{
  const OFCondition status = readText(item, tag, uid);
  if (status.bad() || uid.find('\\') == std::string::npos)
    return status;
  uid.clear();
  return failure("More than one value");
}

} // namespace tarn::dicom
