#pragma once

#include <map>
#include <mutex>

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

/// The item has no private block of ours and no free slot to make one.
extern const OFConditionConst EC_PBPrivateTagProblem;

/// Reads and maintains the archive's own private block in group F215 of one item (PS3.5 7.8.1).
///
/// The canonic layout is one block, reserved under the creator "PB group A" in a slot 10 to FF: creator in
/// (F215,00ss), elements in (F215,ssKK), where KK is the element's short key. The legacy layout sits in the fixed
/// blocks BA and DA; it is moved into the canonic block when the block is first calculated.
///
/// The first slot that is free or ours counts: a block of ours after a free slot is not found. Conditions are those of
/// the toolkit, or EC_PBPrivateTagProblem where the item has no block; nothing is thrown. The first PBItem of the
/// process builds the key map of legacy elements.
class PBItem
{
public:
  static constexpr Uint16 kGroup = 0xF215;
  static constexpr char kCreator[] = "PB group A";
  static constexpr unsigned short kPluginStateKey = 0x94;

  /// Wraps `item`, which must outlive this object.
  explicit PBItem(DcmItem& item);

  /// Finds the block, or the first free slot for it, and moves legacy elements into it; with `moveCanonic` also what
  /// stands in slot 10. Further calls do nothing. Returns false when no slot is left.
  bool calcPrivateBlock(bool moveCanonic);
  /// Writes the creator of the calculated block, unless it stands there. Returns false without a block.
  bool checkAndReservePrivateBlock();
  /// Moves the elements of the legacy blocks that are ours into the block. Deletes those without a short key and those
  /// whose place is taken. Returns false, with the elements where they were, when the block cannot be reserved.
  bool relocateLegacyPrivateTags(bool moveCanonic);
  /// Returns whether the legacy block 0xBA or 0xDA has no readable creator, or ours.
  bool isOldBlockOurs(int blockByte);

  /// Finds the element of a short key in the item; with `searchIntoSub`, and none there, in the items of its sequences,
  /// where the first success counts. The item keeps owning `element`, which may have no value.
  OFCondition findAndGetPBElement(unsigned short key, DcmElement*& element, bool searchIntoSub);
  /// The toolkit's findAndGet of the same name: `value` is null for an element without a value, and points into it.
  OFCondition findAndGetPBString(unsigned short key, const char*& value);
  OFCondition findAndGetPBSequence(unsigned short key, DcmSequenceOfItems*& sequence);
  OFCondition findAndGetPBSequenceItem(unsigned short key, DcmItem*& found, signed long number = 0);

  /// These put a value under a short key. They reserve the block and replace what is there.
  OFCondition findOrCreatePBSequenceItem(unsigned short key, DcmItem*& created, signed long number = 0);
  OFCondition putAndInsertPBString(unsigned short key, const char* value, DcmEVR vr = EVR_LO);
  OFCondition putAndInsertPBUint8Array(unsigned short key, const Uint8* values, unsigned long count);
  OFCondition putAndInsertPBUint16Array(unsigned short key, const Uint16* values, unsigned long count);
  OFCondition insertPBEmptyElement(unsigned short key, DcmEVR vr = EVR_LO);
  /// Gives `element` the tag of `key` and inserts it. The item owns it afterwards; after a failure the caller still
  /// does.
  OFCondition insertPB(unsigned short key, DcmElement* element, bool replaceOld = true);

  /// Takes the element out of the item. The caller owns the result, which is null when there is none.
  DcmElement* removePB(unsigned short key);
  /// Puts a copy of this item's element of `key` into `destination` under the same key.
  OFCondition copyPrivateElement(unsigned short key, PBItem& destination);
  /// Deletes every element of group F215 and forgets the block.
  void nukePrivateTags();

  /// Reserves this item's block and returns the tag of a short key in it.
  DcmTag getTag(unsigned short key);
  /// Turns a legacy tag, or one of slot 10, into the tag of the same short key in this item's block. Returns false,
  /// with `tag` unchanged, when the tag has no short key or the item no block.
  bool convertTag(DcmTag& tag);
  /// Returns whether `object` is an element of this item's block.
  bool isObjectOurPrivateElement(const DcmObject& object);

  /// Returns the tag of a short key in slot 10, where the canonic block lies unless another creator took it.
  static DcmTag canonicTag(unsigned short key);
  /// Gives the short key of a legacy tag or of a tag in slot 10. Returns false when the tag has none.
  static bool getCanonicKey(const DcmTagKey& tag, unsigned short& key);
  /// Group F215, element 0010 to 00FF.
  static bool isOurPrivateCreator(const DcmTag& tag);
  /// Group F215, element above 0FFF.
  static bool isOurPrivateTagKey(const DcmTagKey& tag);

private:
  static void createMap();
  DcmTag blockTag(unsigned short key, DcmEVR vr) const;
  template <class Put>
  OFCondition put(unsigned short key, DcmEVR vr, Put operation);

  /// Legacy tag to short key, 65 rows.
  static std::map<DcmTagKey, unsigned short> m_privateKeyMap;
  static std::once_flag m_isMapCreated;

  DcmItem* item;
  Uint16 block = 0;        ///< slot shifted left by 8; 0 without a block
  bool reserved = false;   ///< the creator element is in the item
  bool calculated = false; ///< the slot has been determined
};
