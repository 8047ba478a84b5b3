#pragma once

#include "repository/handler/RepositoryHandler.h"

namespace tarn::repository
{

/// Thrown inside the library; its entry points turn it into the status word.
struct Refusal
{
  HandlerStatus status;
};

} // namespace tarn::repository
