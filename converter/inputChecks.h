#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <string>

/// What a conversion asks of its input before it begins. Each check reports what is missing with one message.
namespace impsconverter
{

/// The code of what an input lacks (docs/formats.md); null where it lacks nothing.
using Lack = const char*;

/// The organisation's root and its branch of viewer-made presentation states.
constexpr char kInputRoot[] = "1.2.826.0.1.7770001.2.11.4";

/// The element of the plug-in state; it may have no value. Legacy private elements are moved into the canonic block.
[[nodiscard]] bool findPluginState(DcmDataset& dataset, DcmElement*& element);
/// The bytes of that element.
[[nodiscard]] Lack readPluginState(DcmElement& element, std::string& text);
/// The UIDs of study and object; the object has to be a presentation state of the viewer.
[[nodiscard]] Lack readIdentity(DcmDataset& dataset, std::string& studyUid, std::string& sopInstanceUid);
[[nodiscard]] Lack findReferencedSeries(DcmDataset& dataset, DcmSequenceOfItems*& referencedSeries);

} // namespace impsconverter
