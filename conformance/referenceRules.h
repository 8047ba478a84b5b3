#pragma once

#include "conformance/Examination.h"

/// What a presentation state refers to: the Presentation State Relationship Module (PS3.3 C.11.11), and the Referenced
/// Image Sequences of its areas, windows and annotations.
namespace tarn::conformance
{

void examineReferences(Examination& state);
void examineReferenceUids(Examination& state);
void examineImagesTwice(Examination& state);
void examineFrameNumbers(Examination& state);
void examineItemsElsewhere(Examination& state);
void examineReferencesElsewhere(Examination& state);
void examineNeedlessReferences(Examination& state);
void examineItemReferenceUids(Examination& state);

} // namespace tarn::conformance
