#pragma once

#include "conformance/Examination.h"

/// What a presentation state is, whose, and when it was made: the modules of PS3.3 A.33.1 that say nothing of a
/// picture.
namespace tarn::conformance
{

void examineClass(Examination& state);
void examineVrs(Examination& state);
void examinePixels(Examination& state);
void examineUids(Examination& state);
void examineModality(Examination& state);
void examineContentLabelMissing(Examination& state);
void examineContentLabel(Examination& state);
void examineInstanceNumber(Examination& state);
void examineCreationDate(Examination& state);
void examineTypeTwo(Examination& state);
void examineDescriptions(Examination& state);
void examineHeaderValues(Examination& state);
void examineLaterality(Examination& state);
void examineLateralityNeedless(Examination& state);
void examinePatientName(Examination& state);
void examinePrivateCreator(Examination& state);

} // namespace tarn::conformance
