// This host's own record, as its properties say it.
#include "support/SelfRec.h"

#include "base/environmentValue.h"

#include <cerrno>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string>

#include <strings.h>

namespace tarn::imutils
{

SelfRec::SelfRec() : Config(base::environmentValue("CONF") + "/self.rec") {}

SelfRec* SelfRec::Instance()
{
  static const std::unique_ptr<SelfRec> instance = std::make_unique<SelfRec>();
  instance->check();
  return instance.get();
}

void SelfRec::load()
{
  Config::load();
  errno = 0;
  const unsigned long limit = std::strtoul(getProperty("SQLTimeLimit").value_or("").c_str(), nullptr, 10);
  if (errno == 0 && limit != 0 && limit <= std::numeric_limits<unsigned int>::max())
    sqlTimeLimit = static_cast<unsigned int>(limit);
  loadFlag("ProcessMode", "Database", true, processModeDatabase);
  loadFlag("NoObjectTable", "yes", false, hasObjectTable);
  loadFlag("Origin", "yes", true, origin);
  loadFlag("Replica", "yes", true, replica);
}

void SelfRec::reset()
{
  Config::reset();
  sqlTimeLimit = 0;
  processModeDatabase = false;
  hasObjectTable = true;
  origin = false;
  replica = false;
}

void SelfRec::loadFlag(const char* property, const char* word, bool whenEqual, bool& field) const
{
  if (const auto value = getProperty(property))
    field = (strcasecmp(value->c_str(), word) == 0) == whenEqual;
}

} // namespace tarn::imutils
