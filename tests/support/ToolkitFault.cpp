#include "ToolkitFault.h"

#include <dlfcn.h>

// The two operations below are found before those of the toolkit's shared library, also by the library itself.

namespace
{

const DcmTagKey kNone(0xFFFF, 0xFFFF);
DcmTagKey refused[] = {kNone, kNone};

template <class Function>
Function original(const char* symbol)
{
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, symbol));
}

} // namespace

ToolkitFault::ToolkitFault(Where where, const DcmTagKey& tag)
{
  refused[where] = tag;
}
ToolkitFault::~ToolkitFault()
{
  refused[inserting] = refused[filling] = kNone;
}

OFCondition DcmItem::insert(DcmElement* element, OFBool replaceOld, OFBool checkInsertOrder)
{
  using Insert = OFCondition (*)(DcmItem*, DcmElement*, OFBool, OFBool);
  static const auto insertReally = original<Insert>("_ZN7DcmItem6insertEP10DcmElementbb");
  if (element && element->getTag() == refused[ToolkitFault::inserting])
    return EC_IllegalCall;
  return insertReally(this, element, replaceOld, checkInsertOrder);
}

OFCondition DcmFloatingPointSingle::putFloat32Array(const Float32* values, const unsigned long count)
{
  using Put = OFCondition (*)(DcmFloatingPointSingle*, const Float32*, unsigned long);
  static const auto putReally = original<Put>("_ZN22DcmFloatingPointSingle15putFloat32ArrayEPKfm");
  return getTag() == refused[ToolkitFault::filling] ? EC_IllegalCall : putReally(this, values, count);
}
