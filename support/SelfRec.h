#pragma once

#include "support/Config.h"

namespace tarn::imutils
{

/// This host's own configuration: the properties file self.rec in the folder that CONF names.
class SelfRec : public Config
{
public:
  /// Takes the folder from the environment. Nothing is read before check().
  SelfRec();

  /// The one record of the process, which is loaded again when its file has changed. For one thread only. Throws
  /// IMException when the file cannot be read.
  static SelfRec* Instance();

  /// Reads the file. Values are compared without regard to case. A property that is absent leaves its field as it was,
  /// and so does a limit that is no number above 0.
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
