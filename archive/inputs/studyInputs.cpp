// The presentation states of the object table, and the folders that they lie in.
#include "archive/inputs/studyInputs.h"

#include "archive/inputs/NameList.h"
#include "archive/inputs/shard.h"
#include "base/environmentValue.h"
#include "base/text.h"
#include "db/ArchiveTables.h"
#include "db/DBConnectorSql.h"
#include "dicom/uid.h"
#include "repository/client/IMRepositoryHandlerIface.h"
#include "study/cache/ObjCacheMgr.h"

#include <cstdlib>
#include <memory>

namespace tarn::archive
{
namespace
{

constexpr char kStateRows[] = " WHERE (SOPCLASSUID LIKE '1.2.840.10008.5.1.4.1.1.11.1%'"
                              " OR (COALESCE(SOPCLASSUID,'')='' AND FNAME LIKE 'PR.%'))";

class StudySearch
{
public:
  StudySearch(const StudySelection& selection, const StudySink& sink)
    : selection(selection), sink(sink), repository(base::environmentValue("REPOSITORY_DICOM_DATA"))
  {
    if (repository.empty())
      throw std::runtime_error("REPOSITORY_DICOM_DATA is not set");
  }

  void searchAll();
  void searchListed(const std::string& file);

private:
  void search(const std::string& study);
  std::string folderOf(const std::string& study);
  void makeSure(const std::string& study);
  void tellIfUnknown(const std::string& study);

  const StudySelection& selection;
  const StudySink& sink;
  std::string repository;
  db::DBConnectorSql db{db::Missing::refuse};
  std::string from = db.tables().name(db::kObjectTable) + kStateRows;
};

/// One study after the other, each found by the one before: the list of all may be long.
void StudySearch::searchAll()
{
  const std::string next = "SELECT STUDYUID FROM " + from + " AND STUDYUID>? ORDER BY STUDYUID LIMIT 1";
  std::string last;
  for (auto found = db.query(next, last); !found.empty(); found = db.query(next, last))
  {
    last = found.front().text(0);
    search(last);
  }
}

void StudySearch::searchListed(const std::string& file)
{
  NameList studies(file, '\n');
  for (std::string line; studies.next(line);)
    if (const std::string study = base::trimmed(line, " \t\r"); dicom::isUid(study))
    {
      makeSure(study);
      search(study);
      tellIfUnknown(study);
    }
    else if (!study.empty())
      sink.problem("'" + study + "' is no study UID");
}

void StudySearch::makeSure(const std::string& study)
{
  if (!selection.touchObjectCache || !isOfShard(study, "", selection.shard, selection.shards))
    return;
  db.connect(); // a database that cannot be opened is no failure of the study
  try
  {
    db::ObjCacheMgr(&db).touchObjCache(study, true);
  }
  catch (const std::exception& failure)
  {
    sink.problem(base::joined("Checking/re-mapping object cache failed for study ", study, ": ", failure.what()));
  }
}

/// A study without presentation states has other objects: one without any object is not in this archive.
void StudySearch::tellIfUnknown(const std::string& study)
{
  const std::string objects = db.tables().name(db::kObjectTable);
  if (isOfShard(study, "", selection.shard, selection.shards) &&
      db.query("SELECT 1 FROM " + objects + " WHERE STUDYUID=? LIMIT 1", study).empty())
    sink.problem("study " + study + " is not in the object table");
}

void StudySearch::search(const std::string& study)
{
  if (!isOfShard(study, "", selection.shard, selection.shards))
    return;
  const std::string folder = folderOf(study);
  for (const db::SqlRow& row : db.query("SELECT FNAME FROM " + from + " AND STUDYUID=? ORDER BY FNAME", study))
    sink.file(folder + "/" + row.text(0));
}

std::string StudySearch::folderOf(const std::string& study)
{
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> found(
      repository::IMRepositoryHandlerIface::getLocation(repository.c_str(), study.c_str(), &status, true, true, true,
                                                        &db),
      &std::free);
  if (found)
    return found.get();
  if ((status & repository::kMissing) == 0)
    throw RepositoryUnreachable(base::joined("the data repository does not tell where study ", study, " is"));
  return (repository.front() == '/' ? "" : "/") + repository + "/" + study;
}

} // namespace

void findStudyInputs(const StudySelection& selection, const StudySink& sink)
{
  StudySearch search(selection, sink);
  if (selection.all)
    search.searchAll();
  if (selection.listFile)
    search.searchListed(*selection.listFile);
}

} // namespace tarn::archive
