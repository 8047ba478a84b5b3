#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <filesystem>
#include <initializer_list>
#include <string>

namespace samples
{

/// One text element of a dataset; several values are separated by backslashes (PS3.5 6.2).
struct TextElement
{
  DcmTagKey tag;
  std::string value;
};

/// Writes the elements into `item`. Throws std::runtime_error when the toolkit refuses one.
void putTexts(DcmItem& item, std::initializer_list<TextElement> elements);

/// Throws std::runtime_error with `what` and the toolkit's reason when `status` is bad.
void require(const OFCondition& status, const std::string& what);

/// The patient, study and equipment that all objects of the sample study share (PS3.3 C.7.1.1, C.7.2.1, C.7.5.1).
void putCommonModules(DcmItem& dataset);

/// A new item at the end of `sequence`; it belongs to `parent`. Throws std::runtime_error.
DcmItem& appendItem(DcmItem& parent, const DcmTagKey& sequence);

/// The bytes of a DICOM file (PS3.10) that holds `dataset` in `syntax`. Throws std::runtime_error.
std::string encodeFile(const DcmDataset& dataset, E_TransferSyntax syntax);

/// Writes `bytes` to `path`, making its folder. Throws std::runtime_error, also when the disk is full.
void writeFile(const std::filesystem::path& path, const std::string& bytes);

} // namespace samples
