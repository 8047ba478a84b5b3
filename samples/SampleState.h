#pragma once

#include <memory>
#include <string>
#include <vector>

#include "samples/dicomFile.h"
#include "samples/pluginState.h"

namespace samples
{

/// Where the plug-in state lies in group F215.
enum class Layout
{
  canonic,             ///< (F215,1094), creator "PB group A" in slot 10
  canonicInSlot11,     ///< (F215,1194), because another creator holds slot 10
  legacy,              ///< (F215,BA94) with the legacy creator in (F215,00BA)
  legacyWithoutCreator ///< (F215,BA94) alone
};

/// One presentation state as the viewer leaves it: complete modules, no displayed area, its annotations private.
struct SampleState
{
  const char* name; ///< of the file, without its extension
  int number;       ///< instance number, and the end of its SOP Instance UID
  const char* description;
  Layout layout;
  DcmEVR vr; ///< of the plug-in state; implicit syntaxes do not carry it
  E_TransferSyntax syntax;
  std::vector<Figure> figures;
};

/// The states of the sample archive.
const std::vector<SampleState>& sampleStates();

/// The complete presentation state (PS3.3 A.33.1). Throws std::runtime_error.
std::unique_ptr<DcmDataset> makeState(const SampleState& state);

} // namespace samples
