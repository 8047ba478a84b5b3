#pragma once

#include "conformance/Examination.h"

/// Text Object Sequence (PS3.3 C.10.5, C.10.5.1.1).
namespace tarn::conformance
{

void examineEmptyTexts(Examination& state);
void examineTextPlaces(Examination& state);
void examineTextAttributes(Examination& state);
void examineTextBoxOrder(Examination& state);

/// PS3.5 6.2: a value of the VR ST has at most 1,024 characters (longTexts.cpp).
void examineLongTexts(Examination& state);

} // namespace tarn::conformance
