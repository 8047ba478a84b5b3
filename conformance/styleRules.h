#pragma once

#include "conformance/Examination.h"

/// Styles of lines, texts and areas (PS3.3 C.10.5.1.3.13, tables C.10.5-4 to C.10.5-6).
namespace tarn::conformance
{

void examineIncompleteLineStyles(Examination& state);
void examineStyles(Examination& state);

} // namespace tarn::conformance
