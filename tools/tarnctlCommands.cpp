// What the commands of tarnctl do and print.
#include "tools/tarnctlCommands.h"

#include "base/IMException.h"
#include "base/environmentValue.h"
#include "base/report.h"
#include "base/text.h"
#include "db/DBConnectorSql.h"
#include "db/DBTimeoutException.h"
#include "db/SqlSession.h"
#include "repository/client/IMRepositoryHandlerIface.h"
#include "tools/readFiles.h"

#include <algorithm>
#include <array>

namespace tarn::tools
{
namespace
{

using db::DBConnectorSql;
using imutils::IMException;

constexpr const char* kNeededToAdd[] = {"OBJECTTBL",          "QXOBJCACHETBL",          "TARGETTBL",
                                        "DEVSERVTBL",         "REPOSITORYHANDLER_HOME", "REPOSITORY_META",
                                        "REPOSITORY_TEMPMETA"};

/// Refuses a database in memory: what the command does would be gone afterwards without a word.
std::unique_ptr<DBConnectorSql> openDatabase(db::Missing missing = db::Missing::refuse)
{
  auto db = DBConnectorSql::open(missing);
  if (db->session().isInMemory())
    throw IMException("the database would be in memory and end with this command (set TARN_DB_URL)");
  return db;
}

void requireEnvironment()
{
  std::string missing;
  for (const char* variable : kNeededToAdd)
    if (base::environmentValue(variable).empty())
      missing += (missing.empty() ? "" : ", ") + std::string(variable);
  if (!missing.empty())
    throw IMException("add-study needs these environment variables: " + missing);
}

std::string repositoryWords(int status)
{
  if (status == -1)
    return "the repository handler cannot be loaded, the log says why";
  if (status == repository::kUnknownRepository)
    return "repositories.conf does not name it";
  if (status == repository::kMountUnreachable)
    return "one of its mounts is no folder that can be read";
  return "status " + std::to_string(status);
}

/// Nothing is read or written before it is known that the result has a place.
void requireRepository(const char* variable, db::DBConnector& db)
{
  const std::string repository = base::environmentValue(variable);
  const int status = repository::getRepositoryStatus(repository.c_str(), &db);
  if (status != repository::kLocated)
    throw IMException(std::string(variable) + "=" + repository + ": " + repositoryWords(status));
}

std::string counted(std::size_t number, const std::string& one, const std::string& several)
{
  return std::to_string(number) + " " + (number == 1 ? one : several);
}

bool addOne(StudyAdmin& admin, const std::string& studyUid, const std::vector<study::StudyObject>& objects,
            const AddOptions& options)
{
  try
  {
    const study::ObjMetaUpdate result = admin.add(studyUid, objects, options);
    base::trace(studyUid, ": ", counted(result.meta.rows.size(), "object", "objects"), ", ", result.added, " added, ",
                result.changed, " changed");
    return true;
  }
  catch (const db::DBTimeoutException&) // the other studies would wait as long
  {
    throw;
  }
  catch (const std::exception& failure)
  {
    base::report("tarnctl: ", failure.what());
    return false;
  }
}

using Row = std::array<std::string, 7>;

std::string entryWords(const std::optional<db::ObjCacheEntry>& entry)
{
  if (!entry)
    return "none, next run imports";
  if (entry->status == db::kObjCacheValid)
    return "valid";
  if (entry->status == db::kObjCacheUnmap)
    return "marked for unmap";
  return entry->error ? "error" : "next run imports";
}

std::string metaWords(const StudyReport& report)
{
  if (report.meta.value() == utils::STATUS_OK_TEMP)
    return report.metaDir + " (parked)";
  if (report.meta)
    return report.metaDir;
  return report.meta.value() == utils::STATUS_MISSING ? "none" : "unknown, the log says why";
}

Row rowOf(const std::string& studyUid, const StudyReport& report)
{
  const db::StudyState& state = report.state;
  const std::string objects =
      state.row ? std::to_string(state.row->objectCount) + (state.row->metaRequired ? " (meta required)" : "") : "-";
  return {studyUid,
          objects,
          std::to_string(state.objectRows),
          entryWords(state.entry),
          state.entry ? state.entryUpdated : "-",
          std::to_string(state.references),
          metaWords(report)};
}

void printTable(const std::vector<Row>& rows)
{
  std::array<std::size_t, std::tuple_size_v<Row>> widths{};
  for (const Row& row : rows)
    for (std::size_t column = 0; column < row.size(); ++column)
      widths[column] = std::max(widths[column], row[column].size());
  for (const Row& row : rows)
  {
    std::string line;
    for (std::size_t column = 0; column + 1 < row.size(); ++column)
      line += row[column] + std::string(widths[column] - row[column].size() + 2, ' ');
    base::trace(base::printable(line + row.back()));
  }
}

} // namespace

bool initDatabase()
{
  const auto db = openDatabase(db::Missing::create);
  db->createTables();
  db->session().sync();
  base::trace("The tables of the database are there.");
  return true;
}

bool addStudies(const std::vector<std::string>& paths, const AddOptions& options)
{
  requireEnvironment();
  const auto db = openDatabase();
  requireRepository("REPOSITORY_META", *db);
  requireRepository("REPOSITORY_TEMPMETA", *db);
  const Reading reading = readFiles(paths);
  StudyAdmin admin(*db);
  std::size_t registered = 0;
  for (const auto& [studyUid, objects] : reading.studies)
    registered += addOne(admin, studyUid, objects, options) ? 1 : 0;
  db->session().sync();
  base::trace(counted(registered, "study", "studies"), " registered; files: ", reading.objects, " read, ",
              reading.skipped, " skipped, ", reading.failed, " failed");
  return registered > 0 && registered == reading.studies.size() && reading.failed == 0;
}

bool showStatus(const std::string& wanted)
{
  const auto db = openDatabase();
  StudyAdmin admin(*db);
  std::vector<Row> rows{{"STUDY", "OBJECTS", "ROWS", "ENTRY", "SINCE (UTC)", "REFERENCES", "META DIRECTORY"}};
  for (const std::string& studyUid : wanted.empty() ? admin.listStudies() : std::list<std::string>{wanted})
  {
    const StudyReport report = admin.reportOn(studyUid);
    if (report.isKnown())
      rows.push_back(rowOf(studyUid, report));
  }
  if (!wanted.empty() && rows.size() == 1)
    throw IMException(wanted + ": no such study");
  printTable(rows);
  return true;
}

bool clearError(const std::string& studyUid)
{
  const auto db = openDatabase();
  StudyAdmin(*db).clearError(studyUid);
  db->session().sync();
  base::trace(studyUid, ": the next run imports it");
  return true;
}

bool removeStudy(const std::string& studyUid)
{
  const auto db = openDatabase();
  StudyAdmin(*db).remove(studyUid);
  db->session().sync();
  base::trace(studyUid, ": removed");
  return true;
}

} // namespace tarn::tools
