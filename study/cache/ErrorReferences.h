#pragma once

#include "base/IMLogger.h"

#include <set>
#include <string>
#include <vector>

namespace tarn::db
{
class DBConnector;
}

namespace tarn::study
{

/// The references "ocerror", which studies and objects carry whose object table could not be filled.
class ErrorReferences
{
public:
  /// Both are borrowed.
  ErrorReferences(db::DBConnector& db, const imutils::IMLogger& logger) : db(db), logger(logger) {}

  /// Whether the study carries one; false, with a line in the log, when the database does not tell.
  bool isOn(const std::string& studyUid) const;

  /// Attaches one to each of the study's objects whose files are named, and to the study. Logs each failure and goes on
  /// with the next.
  void add(const std::string& studyUid, const std::set<std::string>& files) const;

private:
  void addToObjects(const std::vector<std::string>& keys) const;
  void addOne(const std::string& key, const std::string& kind) const;

  db::DBConnector& db;
  const imutils::IMLogger& logger;
};

} // namespace tarn::study
