// Windows and tables of the Softcopy VOI LUT.
#include "conformance/greyRules.h"

#include "base/text.h"
#include "conformance/lookupTables.h"
#include "conformance/references.h"

namespace tarn::conformance
{
namespace
{

const std::vector<Placed>& itemsOfVoi(Examination& state)
{
  return itemsOf(state.root(), DCM_SoftcopyVOILUTSequence);
}

bool isWindow(const Placed& item)
{
  return numbersOf(item, DCM_WindowCenter) && numbersOf(item, DCM_WindowWidth);
}

bool hasSeveral(const Placed& item, const DcmTagKey& tag)
{
  DcmElement* const element = elementOf(item, tag);
  return element && element->getVM() > 1;
}

/// Puts the first of several values in place of all.
void keepFirst(const Placed& item, const DcmTagKey& tag, DcmEVR vr)
{
  OFString first;
  if (hasSeveral(item, tag) && item.item.findAndGetOFString(tag, first).good())
    putText(item, tag, vr, first.c_str());
}

void removeWindow(const Placed& item)
{
  for (const DcmTagKey& tag : {DCM_WindowCenter, DCM_WindowWidth, DCM_WindowCenterWidthExplanation, DCM_VOILUTFunction})
    remove(item, tag);
}

} // namespace

void examineWindowRemnants(Examination& state)
{
  for (const Placed& item : itemsOfVoi(state))
    if (!isWindow(item) && (has(item, DCM_WindowCenter) || has(item, DCM_WindowWidth)))
      state.find(item, "a window has no centre or no width", [item] { removeWindow(item); });
}

void examineWindowMissing(Examination& state)
{
  const Placed root = state.root();
  std::vector<Placed> empty;
  const std::vector<Placed>& items = itemsOfVoi(state);
  for (const Placed& item : items)
    if (!isWindow(item) && !hasValue(item, DCM_VOILUTSequence))
      empty.push_back(item);
  const char* const text = "there is neither a window nor a table";
  if (!empty.empty())
    state.find(empty.front(), text, [root, empty] { removeItems(root, DCM_SoftcopyVOILUTSequence, empty); });
  else if (items.empty() && has(root, DCM_SoftcopyVOILUTSequence))
    state.find(root, DCM_SoftcopyVOILUTSequence, text, removing(root, DCM_SoftcopyVOILUTSequence));
}

/// Of several windows for one image the first stays: a converted state has its own there.
void examineWindowsTwice(Examination& state)
{
  Claims claims;
  std::vector<Placed> again;
  for (const Placed& item : itemsOfVoi(state))
    if (!claims.add(referencesOf(item)))
      again.push_back(item);
  if (again.empty())
    return;
  const char* const text = "another window or table holds for the same image";
  if (state.manifest().only())
    state.find(again.front(), text,
               [root = state.root(), again] { removeItems(root, DCM_SoftcopyVOILUTSequence, again); });
  else
    state.find(again.front(), text);
}

void examineWindowAndTable(Examination& state)
{
  for (const Placed& item : itemsOfVoi(state))
    if (isWindow(item) && has(item, DCM_VOILUTSequence))
      state.find(item, DCM_VOILUTSequence, "there is a window beside the table", removing(item, DCM_VOILUTSequence));
}

void examineWindowSeveral(Examination& state)
{
  for (const Placed& item : itemsOfVoi(state))
    if (isWindow(item) && (hasSeveral(item, DCM_WindowCenter) || hasSeveral(item, DCM_WindowWidth) ||
                           hasSeveral(item, DCM_WindowCenterWidthExplanation)))
      state.find(item, DCM_WindowCenter, "there are several windows or explanations",
                 [item]
                 {
                   keepFirst(item, DCM_WindowCenter, EVR_DS);
                   keepFirst(item, DCM_WindowWidth, EVR_DS);
                   keepFirst(item, DCM_WindowCenterWidthExplanation, EVR_LO);
                 });
}

void examineWindowFunction(Examination& state)
{
  for (const Placed& item : itemsOfVoi(state))
    if (const std::string& function = textOf(item, DCM_VOILUTFunction);
        has(item, DCM_VOILUTFunction) && function != "LINEAR" && function != "LINEAR_EXACT" && function != "SIGMOID")
      state.find(item, DCM_VOILUTFunction, "'" + function + "' is no function of a window");
}

/// Exact and sigmoid windows may be narrower than 1, but have some width.
void examineWindowWidth(Examination& state)
{
  for (const Placed& item : itemsOfVoi(state))
  {
    const std::string& function = textOf(item, DCM_VOILUTFunction);
    const bool mayBeNarrow = function == "LINEAR_EXACT" || function == "SIGMOID";
    const auto width = numberOf(item, DCM_WindowWidth);
    if (isWindow(item) && width && (mayBeNarrow ? *width <= 0 : *width < 1))
      state.find(item, DCM_WindowWidth, base::joined("a window is ", *width, " wide"),
                 puttingText(item, DCM_WindowWidth, EVR_DS, "1"));
  }
}

void examineVoiTable(Examination& state)
{
  for (const Placed& item : itemsOfVoi(state))
    if (has(item, DCM_VOILUTSequence))
      if (const std::string fault = faultOfTable(item, DCM_VOILUTSequence, Stage::voi); !fault.empty())
        state.find(item, DCM_VOILUTSequence, fault);
}

} // namespace tarn::conformance
