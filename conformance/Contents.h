#pragma once

#include "conformance/TagSet.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <array>
#include <cstddef>
#include <deque>
#include <memory_resource>
#include <optional>
#include <string>
#include <vector>

namespace tarn::conformance
{

class Contents;
class StateContents;

/// The keyword (PS3.6), or "(gggg,eeee)" for a tag that has none.
std::string nameOf(const DcmTagKey& tag);

/// An item of a presentation state, and what is known of it.
struct Placed
{
  DcmItem& item;
  Contents& contents;
};

/// What one item holds.
class Contents
{
public:
  struct Entry
  {
    DcmElement* element;
    DcmSequenceOfItems* sequence; ///< null for another element
    DcmEVR vr;
    // Null until they are asked for.
    const std::string* bytes = nullptr;
    const std::string* text = nullptr;
    const std::optional<std::vector<double>>* numbers = nullptr;
    const std::vector<Float32>* coordinates = nullptr;
    const std::vector<Placed>* items = nullptr;
  };

  Contents(StateContents& state, DcmItem& item);
  Contents(StateContents& state, DcmItem& item, Contents& holder, const DcmTagKey& sequence, std::size_t index);

  /// Null where the item has no such element.
  Entry* find(const DcmTagKey& tag);
  /// All elements, in their order. What is found must not depend on one that is not there.
  std::pmr::vector<Entry>& eachElement();

  /// The value as it stands in a file, without NULs at its end.
  const std::string& bytesOf(Entry& entry);
  /// The value up to the first NUL, without blanks at its ends.
  const std::string& textOf(Entry& entry);
  // As those of values.h.
  const std::optional<std::vector<double>>& numbersOf(Entry& entry);
  const std::vector<Float32>& coordinatesOf(Entry& entry);
  const std::vector<Placed>& itemsOf(Entry& entry);

  /// To be called by all that changes the item: the element was put, or given another value; or it was removed.
  void change(const DcmTagKey& tag);
  void changeByRemoval(const DcmTagKey& tag);
  /// The same for what changes the sequence that holds the item.
  void changePlace();

  /// "GraphicAnnotationSequence[0].TextObjectSequence[3]"; empty for the data set itself.
  std::string place() const;

  StateContents& state;

private:
  void read();

  DcmItem& item;
  Contents* holder = nullptr; ///< null for the data set itself, and for an item apart
  DcmTagKey sequence;         ///< that holds the item
  std::size_t index = 0;
  bool isRead = false;
  TagSet changed; ///< since the item was read
  TagSet present;
  std::pmr::vector<Uint32> tags;
  std::pmr::vector<Entry> entries;
};

/// What all items of a presentation state hold, each value read when it is first asked for: a hundred rules ask for the
/// same ones, and the toolkit's lists are slow to search. It takes note of what is asked for and of what is changed.
/// Whatever it returns stays as it is until it goes itself.
class StateContents
{
public:
  explicit StateContents(DcmDataset& dataset) : dataset(dataset) {}

  /// The data set, an item without a place.
  Placed root();
  /// An item that is not, or not yet, in the data set.
  Placed apart(DcmItem& item);

  /// Says that an element went from all items.
  void changeEverywhere(const DcmTagKey& tag);

  /// Begins to take note anew.
  void takeNote();
  /// What has been asked for, and what has been changed since.
  TagSet asked;
  TagSet changed;

private:
  friend class Contents;

  static constexpr std::size_t kOrdinary = 24576; // bytes that most states need

  DcmDataset& dataset;
  std::array<std::byte, kOrdinary> ordinary;
  std::pmr::monotonic_buffer_resource memory{ordinary.data(), ordinary.size()};
  std::pmr::deque<Contents> items{&memory}; ///< the data set first
  std::pmr::deque<std::string> texts{&memory};
  std::pmr::deque<std::optional<std::vector<double>>> numbers{&memory};
  std::pmr::deque<std::vector<Float32>> coordinates{&memory};
  std::pmr::deque<std::vector<Placed>> lists{&memory};
  std::vector<Contents::Entry> before; ///< for an item that is read again
};

} // namespace tarn::conformance
