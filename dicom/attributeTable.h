#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dcdicent.h>

#include <memory>

namespace tarn::dicom
{

/// A row of the data dictionary that was installed when this was built. `name`, `version` and `privateCreator` are
/// places of texts, 0 for none: pointers would have to be written into the table by the loader at every start. The
/// other numbers are those of DcmDictEntry.
struct Attribute
{
  Uint16 group, element, upperGroup, upperElement;
  Uint8 groupRange, elementRange, vr;
  Sint16 vmMin, vmMax;
  Uint32 name, version, privateCreator;
};

struct AttributeRows
{
  const Attribute* first;
  const Attribute* last; ///< one past the last row

  const Attribute* begin() const { return first; }
  const Attribute* end() const { return last; }
};

/// The rows of one attribute each, ordered by group and element.
AttributeRows attributes();
/// The rows that repeat over groups or elements, in the order in which they are asked.
AttributeRows repeatingAttributes();

/// The name of a standard attribute; null for any other.
const char* attributeName(Uint16 group, Uint16 element);

/// What the toolkit keeps of a row; it refers to the table's texts.
std::unique_ptr<DcmDictEntry> dictionaryEntry(const Attribute& row);

} // namespace tarn::dicom
