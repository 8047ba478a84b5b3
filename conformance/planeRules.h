#pragma once

#include "conformance/Examination.h"

/// What lies over the image: the modules Display Shutter (PS3.3 C.7.6.11), Bitmap Display Shutter (C.7.6.15),
/// Presentation State Shutter (C.11.12), Mask (C.7.6.10, C.11.13), Overlay Plane (C.9.2) and Overlay Activation
/// (C.11.7).
namespace tarn::conformance
{

void examineShutterShape(Examination& state);
void examineShutterParts(Examination& state);
void examineShutterGeometry(Examination& state);
void examineShutterValue(Examination& state);
void examineShutterOverlay(Examination& state);
void examineMask(Examination& state);
void examineOverlays(Examination& state);

} // namespace tarn::conformance
