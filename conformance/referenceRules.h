#pragma once

#include "conformance/Examination.h"

/// What a presentation state refers to: the Presentation State Relationship Module (PS3.3 C.11.11).
namespace tarn::conformance
{

void examineReferences(Examination& state);
void examineReferenceUids(Examination& state);
void examineFrameNumbers(Examination& state);

} // namespace tarn::conformance
