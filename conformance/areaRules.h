#pragma once

#include "conformance/Examination.h"

/// What of the images is shown: the modules Displayed Area (PS3.3 C.10.4) and Spatial Transformation (C.10.6).
namespace tarn::conformance
{

void examineTransformationPair(Examination& state);
void examineTransformation(Examination& state);

void examineAreaMissing(Examination& state);
void examineAreaCorners(Examination& state);
void examineAreasTwice(Examination& state);
void examineAreaCoverage(Examination& state);
void examineCornerOrder(Examination& state);
void examineCornerZero(Examination& state);
void examineAreaSizes(Examination& state);
void examineSizeMode(Examination& state);
void examinePixelSpacing(Examination& state);
void examineAspectRatio(Examination& state);
void examineAspectRatioNeedless(Examination& state);
void examineMagnification(Examination& state);
void examineMagnificationNeedless(Examination& state);
void examineTrueSize(Examination& state);
void examinePixelOrigin(Examination& state);

} // namespace tarn::conformance
