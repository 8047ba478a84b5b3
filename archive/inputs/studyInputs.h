#pragma once

#include <functional>
#include <optional>
#include <stdexcept>
#include <string>

namespace tarn::archive
{

/// Which studies' presentation states are taken from the object table.
struct StudySelection
{
  bool all = false;
  std::optional<std::string> listFile; ///< Study Instance UIDs, one a line; "-" for standard input
  bool touchObjectCache = true;        ///< a listed study's object table is made sure of first
  unsigned shard = 1;                  ///< only studies of this share
  unsigned shards = 1;
};

/// Where the search tells what it finds.
struct StudySink
{
  std::function<void(const std::string& path)> file;    ///< a presentation state's file, which need not exist
  std::function<void(const std::string& line)> problem; ///< a study that could not be looked into
};

/// The data repository is not named, or does not tell where a study is. what() is one line.
class RepositoryUnreachable : public std::runtime_error
{
public:
  using std::runtime_error::runtime_error;
};

/// Takes the presentation states that the object table knows. A row's file is FNAME in the study's folder of the data
/// repository (REPOSITORY_DICOM_DATA), or below the repository's own name where it has no such folder. In memory for
/// one study. Throws DBException, and RepositoryUnreachable where the repository does not tell.
void findStudyInputs(const StudySelection& selection, const StudySink& sink);

} // namespace tarn::archive
