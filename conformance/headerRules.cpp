// Patient, study, series, equipment and identification of a presentation state.
#include "conformance/headerRules.h"

#include "base/text.h"
#include "conformance/values.h"
#include "dicom/contents.h"
#include "privateblock/PBItem.h"

#include <algorithm>
#include <set>

namespace tarn::conformance
{
namespace
{

struct Attribute
{
  DcmTagKey tag;
  DcmEVR vr;
  bool isTypeTwo; ///< PS3.3 asks for it, with a value or without
};

// PS3.3 tables C.7-1, C.7-3, C.7-5a, C.7-8, C.11.10-1 and 10-12. Those of type 1 have rules of their own.
const Attribute kAttributes[] = {
    {DCM_PatientName, EVR_PN, true},
    {DCM_PatientID, EVR_LO, true},
    {DCM_PatientBirthDate, EVR_DA, true},
    {DCM_PatientSex, EVR_CS, true},
    {DCM_StudyDate, EVR_DA, true},
    {DCM_StudyTime, EVR_TM, true},
    {DCM_AccessionNumber, EVR_SH, true},
    {DCM_ReferringPhysicianName, EVR_PN, true},
    {DCM_StudyID, EVR_SH, true},
    {DCM_SeriesNumber, EVR_IS, true},
    {DCM_Manufacturer, EVR_LO, true},
    {DCM_ContentDescription, EVR_LO, true},
    {DCM_ContentCreatorName, EVR_PN, true},
    {DCM_SeriesDate, EVR_DA, false},
    {DCM_SeriesTime, EVR_TM, false},
    {DCM_BodyPartExamined, EVR_CS, false},
    {DCM_Laterality, EVR_CS, false},
};

bool isSound(const Placed& root, const DcmTagKey& tag, DcmEVR vr)
{
  const std::string& value = textOf(root, tag);
  return !value.empty() && fits(value, vr);
}

/// A code string made of another text (PS3.5 6.2).
std::string codeOf(std::string text)
{
  constexpr std::size_t kMostLetters = 16;
  text.resize(std::min(text.size(), kMostLetters));
  for (char& letter : text)
    if (letter >= 'a' && letter <= 'z')
      letter = static_cast<char>(letter - 'a' + 'A');
    else if (!((letter >= 'A' && letter <= 'Z') || (letter >= '0' && letter <= '9') || letter == ' '))
      letter = '_';
  return base::trimmed(text);
}

/// The first letters of a text, at most as many as LO has (PS3.5 6.2); UTF-8 has a letter in several bytes.
std::string cut(const std::string& text, bool isUtf8)
{
  constexpr int kMostLetters = 64;
  int letters = 0;
  for (std::size_t i = 0; i < text.size(); ++i)
    if (const bool begins = !isUtf8 || (static_cast<unsigned char>(text[i]) & 0xC0U) != 0x80U;
        begins && ++letters > kMostLetters)
      return base::trimmed(text.substr(0, i));
  return text;
}

/// Whether the character set has letters of several bytes, among which may be a backslash (PS3.5 6.1.2).
bool spreadsLetters(const Placed& root)
{
  const std::string& set = textOf(root, DCM_SpecificCharacterSet);
  return set.find("2022") != std::string::npos || base::startsWith(set, "GB");
}

bool isPlain(const std::string& text)
{
  return std::all_of(text.begin(), text.end(), [](char letter) { return letter >= ' ' && letter <= '~'; });
}

/// Parts of the body that have no left and right (PS3.16 annex L), as far as dictionaries of readers agree.
bool isUnpaired(const std::string& bodyPart)
{
  static const std::set<std::string> kUnpaired{"ABDOMEN",
                                               "ABDOMENPELVIS",
                                               "AORTA",
                                               "BACK",
                                               "BLADDER",
                                               "BRAIN",
                                               "CEREBELLUM",
                                               "CERVIX",
                                               "CHEST",
                                               "CHESTABDOMEN",
                                               "CHESTABDPELVIS",
                                               "CIRCLEOFWILLIS",
                                               "COCCYX",
                                               "COLON",
                                               "CORONARYARTERY",
                                               "CSPINE",
                                               "CTSPINE",
                                               "DUODENUM",
                                               "ESOPHAGUS",
                                               "FACE",
                                               "GALLBLADDER",
                                               "HEAD",
                                               "HEADNECK",
                                               "HEART",
                                               "ILEUM",
                                               "ILIUM",
                                               "JAW",
                                               "JEJUNUM",
                                               "LARYNX",
                                               "LIVER",
                                               "LSPINE",
                                               "LSSPINE",
                                               "MAXILLA",
                                               "MEDIASTINUM",
                                               "MOUTH",
                                               "NECK",
                                               "NECKCHEST",
                                               "NECKCHESTABDOMEN",
                                               "NECKCHESTABDPELV",
                                               "NOSE",
                                               "PANCREAS",
                                               "PELVIS",
                                               "PENIS",
                                               "PHARYNX",
                                               "PROSTATE",
                                               "RECTUM",
                                               "SCALP",
                                               "SKULL",
                                               "SPINE",
                                               "SPLEEN",
                                               "SSPINE",
                                               "STERNUM",
                                               "STOMACH",
                                               "THYMUS",
                                               "THYROID",
                                               "TLSPINE",
                                               "TONGUE",
                                               "TRACHEA",
                                               "TSPINE",
                                               "URETER",
                                               "URETHRA",
                                               "UTERUS",
                                               "VAGINA",
                                               "VULVA",
                                               "WHOLEBODY"};
  return kUnpaired.count(bodyPart) > 0;
}

} // namespace

void examineClass(Examination& state)
{
  if (const std::string& uid = textOf(state.root(), DCM_SOPClassUID);
      uid != UID_GrayscaleSoftcopyPresentationStateStorage)
    state.find(state.root(), DCM_SOPClassUID, "'" + uid + "' is another class");
}

void examineUids(Examination& state)
{
  for (const DcmTagKey& tag : {DCM_SOPInstanceUID, DCM_StudyInstanceUID, DCM_SeriesInstanceUID})
    if (const std::string& uid = textOf(state.root(), tag); !isStrictUid(uid))
      state.find(state.root(), tag, uid.empty() ? "the UID is missing" : "'" + uid + "' is no UID");
}

void examineModality(Examination& state)
{
  if (const std::string& modality = textOf(state.root(), DCM_Modality); modality != "PR")
    state.find(state.root(), DCM_Modality, "'" + modality + "' is not PR",
               puttingText(state.root(), DCM_Modality, EVR_CS, "PR"));
}

void examineContentLabelMissing(Examination& state)
{
  if (textOf(state.root(), DCM_ContentLabel).empty())
    state.find(state.root(), DCM_ContentLabel, "there is no label",
               puttingText(state.root(), DCM_ContentLabel, EVR_CS, "ANNOTATIONS"));
}

void examineContentLabel(Examination& state)
{
  const Placed root = state.root();
  if (const std::string& label = textOf(root, DCM_ContentLabel); !fits(label, EVR_CS))
    state.find(root, DCM_ContentLabel, "it is no code string",
               puttingText(root, DCM_ContentLabel, EVR_CS, codeOf(label)));
}

void examineInstanceNumber(Examination& state)
{
  if (!isSound(state.root(), DCM_InstanceNumber, EVR_IS))
    state.find(state.root(), DCM_InstanceNumber, "there is no number");
}

/// The first date and time that belong together, of the study, of the series, of the content.
void examineCreationDate(Examination& state)
{
  const Placed root = state.root();
  const bool isDated = isSound(root, DCM_PresentationCreationDate, EVR_DA);
  const bool isTimed = isSound(root, DCM_PresentationCreationTime, EVR_TM);
  if (isDated && isTimed)
    return;
  const DcmTagKey& missing = isDated ? DCM_PresentationCreationTime : DCM_PresentationCreationDate;
  for (const auto& [date, time] : {std::pair(DCM_StudyDate, DCM_StudyTime), std::pair(DCM_SeriesDate, DCM_SeriesTime),
                                   std::pair(DCM_ContentDate, DCM_ContentTime)})
    if (isSound(root, date, EVR_DA) && isSound(root, time, EVR_TM))
      return state.find(root, missing, "the state has no date and time of its creation",
                        [root, isDated, day = textOf(root, date), hour = textOf(root, time)]
                        {
                          if (!isDated)
                            putText(root, DCM_PresentationCreationDate, EVR_DA, day);
                          putText(root, DCM_PresentationCreationTime, EVR_TM, hour);
                        });
  state.find(root, missing, "the state has no date and time of its creation, nor its study, series and content");
}

void examineTypeTwo(Examination& state)
{
  for (const Attribute& attribute : kAttributes)
    if (attribute.isTypeTwo && !has(state.root(), attribute.tag))
      state.find(state.root(), attribute.tag, "it is missing",
                 puttingText(state.root(), attribute.tag, attribute.vr, ""));
}

/// What a patient or a study is called is not corrected.
void examineHeaderValues(Examination& state)
{
  const Placed root = state.root();
  const bool isSpread = spreadsLetters(root);
  for (const Attribute& attribute : kAttributes)
    if (const std::string& value = textOf(root, attribute.tag); !value.empty() && !fits(value, attribute.vr))
      state.find(root, attribute.tag, "the value is none of its VR");
    else if (!isSpread && value.find('\\') != std::string::npos)
      state.find(root, attribute.tag, "there are several values");
  if (const std::string& sex = textOf(root, DCM_PatientSex); !sex.empty() && sex != "M" && sex != "F" && sex != "O")
    state.find(root, DCM_PatientSex, "it is none of M, F and O");
}

/// Letters that are spread over several bytes are not counted.
void examineDescriptions(Examination& state)
{
  const Placed root = state.root();
  const bool isSpread = spreadsLetters(root), isUtf8 = textOf(root, DCM_SpecificCharacterSet) == "ISO_IR 192";
  for (const DcmTagKey& tag : {DCM_StudyDescription, DCM_SeriesDescription})
    if (const std::string& text = textOf(root, tag), shorter = cut(text, isUtf8);
        shorter != text && !(isSpread && !isPlain(text)))
      state.find(root, tag, "it is longer than 64 letters", puttingText(root, tag, EVR_LO, shorter));
}

void examineLaterality(Examination& state)
{
  const Placed root = state.root();
  if (!has(root, DCM_Laterality) && !has(root, DCM_ImageLaterality) && !isUnpaired(textOf(root, DCM_BodyPartExamined)))
    state.find(root, DCM_Laterality, "the body part may be one of a pair",
               puttingText(root, DCM_Laterality, EVR_CS, ""));
}

void examineLateralityNeedless(Examination& state)
{
  const Placed root = state.root();
  if (has(root, DCM_Laterality) && textOf(root, DCM_Laterality).empty() &&
      isUnpaired(textOf(root, DCM_BodyPartExamined)))
    state.find(root, DCM_Laterality, "it is empty, and the body part is none of a pair",
               removing(root, DCM_Laterality));
}

void examinePatientName(Examination& state)
{
  if (has(state.root(), DCM_PatientName) && textOf(state.root(), DCM_PatientName).empty())
    state.find(state.root(), DCM_PatientName, "readers list the state under no name");
}

void examinePrivateCreator(Examination& state)
{
  const Placed root = state.root();
  std::set<unsigned> filled; // blocks with an element
  std::vector<DcmTagKey> creators;
  for (const Contents::Entry& entry : elementsOf(root))
    if (const DcmTagKey tag = entry.element->getTag(); tag.getGroup() != PBItem::kGroup)
      continue;
    else if (tag.getElement() > 0xFF)
      filled.insert(tag.getElement() >> 8U);
    else if (textOf(root, tag) == PBItem::kCreator)
      creators.push_back(tag);
  for (const DcmTagKey& creator : creators)
    if (filled.count(creator.getElement()) == 0)
      state.find(root, creator, "nothing is left in the block", removing(root, creator));
}

} // namespace tarn::conformance
