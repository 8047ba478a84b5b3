// The images that a presentation state and its items refer to.
#include "conformance/referenceRules.h"

#include "base/text.h"
#include "conformance/references.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace tarn::conformance
{
namespace
{

const DcmTagKey kChoosing[] = {DCM_DisplayedAreaSelectionSequence, DCM_SoftcopyVOILUTSequence,
                               DCM_GraphicAnnotationSequence};

/// Calls `visit` for each item that may choose among the images of the state.
template <class Visit>
void forEachItem(Examination& state, Visit visit)
{
  for (const DcmTagKey& sequence : kChoosing)
    for (const Placed& item : itemsOf(state.root(), sequence))
      visit(item);
}

void requireUid(Examination& state, const Placed& where, const DcmTagKey& tag)
{
  if (const std::string& uid = textOf(where, tag); !isStrictUid(uid))
    state.find(where, tag, uid.empty() ? "the UID is missing" : "'" + uid + "' is no UID");
}

void examineFrameNumber(Examination& state, const Placed& image)
{
  if (!has(image, DCM_ReferencedFrameNumber))
    return;
  const auto size = state.sizeOf(textOf(image, DCM_ReferencedSOPInstanceUID));
  const double most = size && size->frames > 0 ? size->frames : HUGE_VAL;
  const auto& numbers = numbersOf(image, DCM_ReferencedFrameNumber);
  const bool fits = numbers && std::all_of(numbers->begin(), numbers->end(),
                                           [most](double number) { return isWhole(number, 1, most); });
  const auto drop = [image] { remove(image, DCM_ReferencedFrameNumber); };
  if (!isMultiFrame(textOf(image, DCM_ReferencedSOPClassUID)) && !(size && size->frames > 1))
    state.find(image, DCM_ReferencedFrameNumber, "an image of one frame has a frame number", drop);
  else if (!fits)
    state.find(image, DCM_ReferencedFrameNumber, "it numbers no frame of the image", drop);
}

/// Whether all images that an item refers to, at least one, are none of the state's.
bool isElsewhere(const Manifest& manifest, const std::vector<Reference>& references)
{
  return !references.empty() && std::none_of(references.begin(), references.end(),
                                             [&manifest](const Reference& image) { return manifest.find(image.uid); });
}

/// A window of a state of one image stays, whatever it refers to: a converted one lies in the input's first item.
bool staysWithoutReference(const Manifest& manifest, const DcmTagKey& sequence)
{
  return manifest.only() && sequence == DCM_SoftcopyVOILUTSequence;
}

} // namespace

void examineReferences(Examination& state)
{
  const std::vector<Placed>& series = itemsOf(state.root(), DCM_ReferencedSeriesSequence);
  if (series.empty())
    state.find(state.root(), DCM_ReferencedSeriesSequence, "no series is referred to");
  for (const Placed& one : series)
    if (itemsOf(one, DCM_ReferencedImageSequence).empty())
      state.find(one, DCM_ReferencedImageSequence, "no image of the series is referred to");
}

void examineReferenceUids(Examination& state)
{
  for (const Placed& series : itemsOf(state.root(), DCM_ReferencedSeriesSequence))
  {
    requireUid(state, series, DCM_SeriesInstanceUID);
    for (const Placed& image : itemsOf(series, DCM_ReferencedImageSequence))
      for (const DcmTagKey& tag : {DCM_ReferencedSOPClassUID, DCM_ReferencedSOPInstanceUID})
        requireUid(state, image, tag);
  }
}

/// Two references to one image are sound where each names frames of its own.
void examineImagesTwice(Examination& state)
{
  Claims claims;
  std::vector<Placed> emptied;
  for (const Placed& series : itemsOf(state.root(), DCM_ReferencedSeriesSequence))
  {
    std::vector<Placed> again;
    const std::vector<Reference> images = referencesOf(series);
    for (const Reference& image : images)
      if (!claims.add({image}))
        again.push_back(image.where);
    if (!again.empty() && again.size() == images.size())
      emptied.push_back(series);
    else if (!again.empty())
      state.find(series, DCM_ReferencedImageSequence, base::joined(again.size(), " images are referred to before"),
                 [series, again] { removeItems(series, DCM_ReferencedImageSequence, again); });
  }
  if (!emptied.empty())
    state.find(emptied.front(), "all images of the series are referred to before",
               [root = state.root(), emptied] { removeItems(root, DCM_ReferencedSeriesSequence, emptied); });
}

/// Frames of an image of one frame are not numbered; of others the numbers count from 1.
void examineFrameNumbers(Examination& state)
{
  const Manifest& manifest = state.manifest();
  for (const Reference& image : manifest.images())
    examineFrameNumber(state, image.where);
  forEachItem(state,
              [&state](const Placed& item)
              {
                for (const Placed& image : itemsOf(item, DCM_ReferencedImageSequence))
                  examineFrameNumber(state, image);
              });
}

void examineItemsElsewhere(Examination& state)
{
  const Manifest& manifest = state.manifest();
  if (manifest.images().empty())
    return;
  for (const DcmTagKey& sequence : kChoosing)
  {
    std::vector<Placed> elsewhere;
    for (const Placed& item : itemsOf(state.root(), sequence))
      if (!staysWithoutReference(manifest, sequence) && isElsewhere(manifest, referencesOf(item)))
        elsewhere.push_back(item);
    if (!elsewhere.empty())
      state.find(elsewhere.front(),
                 base::joined(elsewhere.size(), " items from here on are for images that the state does not refer to"),
                 [root = state.root(), sequence, elsewhere] { removeItems(root, sequence, elsewhere); });
  }
}

void examineReferencesElsewhere(Examination& state)
{
  const Manifest& manifest = state.manifest();
  if (manifest.images().empty())
    return;
  forEachItem(state,
              [&](const Placed& item)
              {
                std::vector<Placed> elsewhere;
                for (const Reference& image : referencesOf(item))
                  if (!manifest.find(image.uid))
                    elsewhere.push_back(image.where);
                if (!elsewhere.empty())
                  state.find(item, DCM_ReferencedImageSequence,
                             base::joined(elsewhere.size(), " images that the state does not refer to"),
                             [item, elsewhere] { removeItems(item, DCM_ReferencedImageSequence, elsewhere); });
              });
}

/// What holds for every image and frame of the state names none of them.
void examineNeedlessReferences(Examination& state)
{
  const Manifest& manifest = state.manifest();
  const Reference* const only = manifest.only();
  const auto isWholeState = [only](const Reference& image)
  { return only && image.uid == only->uid && (image.frames.empty() || image.frames == only->frames); };
  forEachItem(state,
              [&](const Placed& item)
              {
                const std::vector<Reference> references = referencesOf(item);
                const bool isNeedless =
                    references.empty() || std::any_of(references.begin(), references.end(), isWholeState);
                if (has(item, DCM_ReferencedImageSequence) && isNeedless)
                  state.find(item, DCM_ReferencedImageSequence, "the item holds for all that the state refers to",
                             [item] { remove(item, DCM_ReferencedImageSequence); });
              });
}

void examineItemReferenceUids(Examination& state)
{
  const Manifest& manifest = state.manifest();
  forEachItem(state,
              [&](const Placed& item)
              {
                for (const Reference& image : referencesOf(item))
                  if (const Reference* const listed = manifest.find(image.uid);
                      listed && listed->sopClass != image.sopClass)
                    state.find(image.where, DCM_ReferencedSOPClassUID,
                               "it is not the class that the state refers to the image with");
              });
}

} // namespace tarn::conformance
