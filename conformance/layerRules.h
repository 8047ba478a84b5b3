#pragma once

#include "conformance/Examination.h"

/// Annotation items as a whole (PS3.3 C.10.5), and the layers that they are drawn in (C.10.7).
namespace tarn::conformance
{

void examineEmptySequences(Examination& state);
void examineEmptyAnnotations(Examination& state);
void examineAnnotationLayers(Examination& state);
void examineDeclaredLayers(Examination& state);
void examineLayerNames(Examination& state);
void examineLayerOrders(Examination& state);
void examineLayerColors(Examination& state);

} // namespace tarn::conformance
