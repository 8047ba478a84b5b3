#pragma once

#include "conformance/Examination.h"

/// Texts of the whole data set: Specific Character Set (PS3.3 C.12.1.1.2), and what a VR allows (PS3.5 6.2).
namespace tarn::conformance
{

void examineCharacterSets(Examination& state);
void examineTextCharacters(Examination& state);
void examineTextsLikeUtf8(Examination& state);
void examineControlCharacters(Examination& state);
void examineTextLengths(Examination& state);
void examineOtherTextLengths(Examination& state);

} // namespace tarn::conformance
