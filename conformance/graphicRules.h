#pragma once

#include "conformance/Examination.h"

/// Graphic Object Sequence (PS3.3 C.10.5, C.10.5.1.2), and coordinates of all objects.
namespace tarn::conformance
{

void examineGraphicDataVr(Examination& state);
void examineGraphicDimensions(Examination& state);
void examineLongOutlines(Examination& state);
void examinePointCounts(Examination& state);
void examineSinglePointOutlines(Examination& state);
void examineGraphicAttributes(Examination& state);
void examineGraphicData(Examination& state);
void examineClosedGraphics(Examination& state);
void examineOpenGraphics(Examination& state);
void examineEllipseAxes(Examination& state);
void examineEllipseAngles(Examination& state);

// Coordinates of all objects (coordinateRules.cpp).
void examineTextPlacesFinite(Examination& state);
void examineCoordinatesFinite(Examination& state);
void examineDisplayCoordinates(Examination& state);
void examineMatrixUnits(Examination& state);
void examineCoordinatesInImage(Examination& state);

} // namespace tarn::conformance
