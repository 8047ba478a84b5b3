#pragma once

#include "conformance/Examination.h"

/// Compound graphics and groups of graphics (PS3.3 C.10.5.1.3, C.10.14).
namespace tarn::conformance
{

void examineCompoundAttributes(Examination& state);
void examineCompoundData(Examination& state);
void examineCompoundTypes(Examination& state);
void examineCompoundIds(Examination& state);
void examineCompoundRenderings(Examination& state);
void examineGraphicGroups(Examination& state);
void examineGraphicGroupIds(Examination& state);

} // namespace tarn::conformance
