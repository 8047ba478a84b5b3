#pragma once

#include "conformance/Examination.h"

/// How stored values become grey: the modules Modality LUT (PS3.3 C.11.1), Softcopy VOI LUT (C.11.8 and C.11.2) and
/// Softcopy Presentation LUT (C.11.6).
namespace tarn::conformance
{

void examineRescale(Examination& state);
void examineRescaleAndTable(Examination& state);
void examineModalityTable(Examination& state);
void examineWindowOnStoredValues(Examination& state);

void examineWindowRemnants(Examination& state);
void examineWindowMissing(Examination& state);
void examineWindowsTwice(Examination& state);
void examineWindowAndTable(Examination& state);
void examineWindowSeveral(Examination& state);
void examineWindowFunction(Examination& state);
void examineWindowWidth(Examination& state);
void examineVoiTable(Examination& state);

void examinePresentationLutMissing(Examination& state);
void examinePresentationLutTwice(Examination& state);
void examinePresentationLutShape(Examination& state);
void examinePresentationTable(Examination& state);

} // namespace tarn::conformance
