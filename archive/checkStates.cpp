// `annomend-archive check PATH...`: the rules of conformance over presentation states of any maker.
#include "archive/checkStates.h"

#include "archive/inputs/FileLook.h"
#include "archive/inputs/walkPaths.h"
#include "archive/run/exitStatus.h"
#include "base/Console.h"
#include "base/report.h"
#include "conformance/Rule.h"
#include "conformance/conform.h"
#include "db/DBConnectorSql.h"
#include "dicom/dictionary.h"
#include "dicom/loadFile.h"
#include "dicom/values.h"
#include "images/ImageFiles.h"

#include <memory>

namespace tarn::archive
{
namespace
{

/// The sizes of the images that one state after the other refers to.
class StateImages : public conformance::ImageSizes
{
public:
  explicit StateImages(const std::string& folder) : files(db, folder) {}

  void begin(DcmDataset& state)
  {
    if (dicom::readUid(state, DCM_StudyInstanceUID, studyUid).bad())
      studyUid.clear();
  }

  std::optional<conformance::ImageSize> find(const std::string& sopInstanceUid) override
  {
    if (sopInstanceUid.empty())
      return std::nullopt;
    const auto& header = files.find(studyUid, "", sopInstanceUid);
    return header ? std::make_optional(conformance::ImageSize{header->columns, header->rows, header->frames})
                  : std::nullopt;
  }

private:
  db::DBConnectorSql db{db::Missing::refuse};
  images::ImageFiles files;
  std::string studyUid;
};

class StateCheck
{
public:
  StateCheck(FindingForm form, const std::string& imagesFolder) : findings(form)
  {
    if (!imagesFolder.empty())
      images = std::make_unique<StateImages>(imagesFolder);
  }

  /// A file that a walk found; one that was `named` is expected to be a presentation state.
  void look(const std::string& path, bool named);
  void pass() { ++passed; }
  void problem(const std::string& line)
  {
    ++problems;
    base::report(line);
  }
  int finish(bool notesFail) const;

private:
  void check(const std::string& path);

  FindingWriter findings;
  std::unique_ptr<StateImages> images; ///< null where none are looked for
  std::uint64_t states = 0;
  std::uint64_t passed = 0;
  std::uint64_t problems = 0;
};

void StateCheck::look(const std::string& path, bool named)
{
  FileLook look(path);
  const bool mayBeState = look.kind() == FileLook::Kind::file && look.mayBeState().value_or(false);
  const bool isGone = look.kind() == FileLook::Kind::missing && !named;
  if (mayBeState)
    check(path);
  else if (!look.reason().empty() && !isGone)
    findings.write({path, "unreadable", look.reason()});
  else if (named)
    findings.write(
        {path, "no-presentation-state", "it does not begin as a Grayscale Softcopy Presentation State does"});
  else
    ++passed;
}

void StateCheck::check(const std::string& path)
{
  ++states;
  DcmFileFormat file;
  if (const OFCondition loaded = dicom::loadFile(file, path); loaded.bad())
    return findings.write({path, "not-loaded", loaded.text()});
  if (images)
    images->begin(*file.getDataset());
  for (const conformance::Finding& finding : conformance::check(*file.getDataset(), images.get()))
    findings.write(
        {path, finding.code, finding.text, finding.level == conformance::Level::note, finding.clause, finding.at});
}

int StateCheck::finish(bool notesFail) const
{
  base::report(states, " presentation states checked, ", passed, " other files passed over, ", findings.errors(),
               " errors, ", findings.notes(), " notes");
  const bool fails = findings.errors() + problems > 0 || (notesFail && findings.notes() > 0);
  return fails ? exitStatus::kFailed : exitStatus::kDone;
}

} // namespace

int listRules()
{
  consoleOut() << "| code | level | PS3.3 | rule | remedy |\n|---|---|---|---|---|\n";
  for (const conformance::Rule& rule : conformance::rules())
    consoleOut() << "| `" << rule.code << "` | " << (rule.level == conformance::Level::note ? "note" : "error") << " | "
                 << rule.clause << " | " << rule.what << " | "
                 << (rule.remedy ? base::joined('`', rule.remedy, '`') : "") << " |\n";
  return exitStatus::kDone;
}

int checkStates(const std::vector<std::string>& paths, FindingForm form, bool notesFail,
                const std::string& imagesFolder)
{
  std::string error;
  if (!dicom::setUpDictionary(error))
  {
    base::report("annomend-archive: ", error);
    return exitStatus::kFailed;
  }
  dicom::completeDictionary(); // places are called by the names of their attributes
  StateCheck check(form, imagesFolder);
  const WalkSink found{[&](const std::string& path) { check.look(path, false); }, [&] { check.pass(); },
                       [&](const std::string& line) { check.problem(line); }};
  walkPaths(paths, "", found, [&](const std::string& path) { check.look(path, true); });
  return check.finish(notesFail);
}

} // namespace tarn::archive
