#pragma once

#include "conformance/items.h"

namespace tarn::conformance
{

/// Which stage of the grey values a table is for.
enum class Stage
{
  modality,
  voi,
  presentation
};

/// What is wrong with the one table that a sequence holds (PS3.3 C.11.1.1.1, C.11.2.1.1, C.11.6.1.1); empty where it is
/// sound.
std::string faultOfTable(const Placed& where, const DcmTagKey& sequence, Stage stage);

} // namespace tarn::conformance
