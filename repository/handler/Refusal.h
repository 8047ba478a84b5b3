#pragma once

#include "repository/handler/RepositoryHandler.h"

namespace tarn::repository
{

/// Why an operation of the library ends early. Entry points turn it into their status.
struct Refusal
{
  HandlerStatus status;
};

} // namespace tarn::repository
