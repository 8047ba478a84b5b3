#pragma once

#include "support/Config.h"

namespace tarn::imutils
{

/// This host's own configuration: the properties file $CONF/self.rec.
class SelfRec : public Config
{
public:
  /// Takes the file's name from the environment; reads nothing before check().
  SelfRec();

  /// The one record of the process, reloaded when its file has changed. For one thread only.
  static SelfRec* Instance();

  /// Reads the file; values are compared without regard to case. A property that is absent or, for the limit, no
  /// number above 0 leaves its field as it was.
  void load() override;
  /// Forgets all properties and restores the defaults below.
  void reset() override;

  unsigned int sqlTimeLimit = 0;    ///< SQLTimeLimit; 0: none
  bool processModeDatabase = false; ///< ProcessMode is "Database"
  bool hasObjectTable = true;       ///< NoObjectTable is not "yes"
  bool origin = false;              ///< Origin is "yes"
  bool replica = false;             ///< Replica is "yes"

private:
  void loadFlag(const char* property, const char* word, bool whenEqual, bool& field) const;
};

} // namespace tarn::imutils
