// Whether an object is a presentation state of the viewer, and has what a conversion needs.
#include "converter/inputChecks.h"

#include "base/report.h"
#include "base/text.h"
#include "dicom/values.h"
#include "privateblock/PBItem.h"
#include "pstate/ElementWriter.h"

namespace impsconverter
{
namespace
{

constexpr char kNoPluginState[] = "DataSet does not contain private presentation state data: ";
constexpr char kMissing[] = "Original Presentation State object does not contain ";
constexpr char kPresentationStateClass[] = "1.2.840.10008.5.1.4.1.1.11.1";

bool isIssuedByViewer(const std::string& sopInstanceUid)
{
  // PS3.5 9.1. It becomes part of file names: nothing but a UID passes.
  const bool issued = tarn::base::startsWith(sopInstanceUid, kInputRoot) &&
                      sopInstanceUid.find_first_not_of("0123456789.") == std::string::npos;
  if (!issued)
    tarn::base::report("SOP Instance UID of the original Presentation State object was not issued by QX: ",
                       sopInstanceUid);
  return issued;
}

bool isPresentationState(const std::string& sopClassUid)
{
  const bool is = tarn::base::startsWith(sopClassUid, kPresentationStateClass);
  if (!is)
    tarn::base::report("Object is not a Grayscale Softcopy Presentation State: ",
                       dcmFindNameOfUID(sopClassUid.c_str(), sopClassUid.c_str()));
  return is;
}

} // namespace

bool findPluginState(DcmDataset& dataset, DcmElement*& element)
{
  if (!isGood(PBItem(dataset).findAndGetPBElement(PBItem::kPluginStateKey, element, false), kNoPluginState))
    return false;
  if (!element)
    tarn::base::report("Private presentation state data is NULL");
  return element != nullptr;
}

Lack readPluginState(DcmElement& element, std::string& text)
{
  return isGood(tarn::dicom::readBytes(element, text), kNoPluginState) ? nullptr : "private-state-unreadable";
}

Lack readIdentity(DcmDataset& dataset, std::string& studyUid, std::string& sopInstanceUid)
{
  const std::string missing = kMissing;
  std::string sopClassUid;
  // PS3.3 C.7.2.1 and C.12.1
  if (!isGood(tarn::dicom::readUid(dataset, DCM_StudyInstanceUID, studyUid), missing + "Study Instance UID: "))
    return "study-uid-missing";
  if (!isGood(tarn::dicom::readText(dataset, DCM_SOPInstanceUID, sopInstanceUid), missing + "SOP Instance UID: "))
    return "instance-uid-missing";
  if (!isIssuedByViewer(sopInstanceUid))
    return "instance-uid-foreign";
  if (!isGood(tarn::dicom::readText(dataset, DCM_SOPClassUID, sopClassUid), missing + "SOP Class UID: "))
    return "class-uid-missing";
  return isPresentationState(sopClassUid) ? nullptr : "class-foreign";
}

Lack findReferencedSeries(DcmDataset& dataset, DcmSequenceOfItems*& referencedSeries)
{
  // The messages speak of another sequence than (0008,1115); they have always done so.
  if (!isGood(dataset.findAndGetSequence(DCM_ReferencedSeriesSequence, referencedSeries),
              "DataSet does not contain Source Image Sequence: "))
    return "references-missing";
  if (!referencedSeries)
    tarn::base::report("Source Image Sequence is NULL");
  return referencedSeries ? nullptr : "references-missing";
}

} // namespace impsconverter
