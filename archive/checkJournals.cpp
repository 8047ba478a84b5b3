// `annomend-archive check --journal`: whether an output folder holds what its journals say (docs/formats.md, "Check").
#include "archive/checkJournals.h"

#include "archive/inputs/FolderWalk.h"
#include "archive/journal/sha256.h"
#include "archive/journals.h"
#include "archive/run/exitStatus.h"
#include "base/files.h"
#include "base/text.h"

#include <algorithm>
#include <utility>

namespace tarn::archive
{
namespace
{

class JournalCheck
{
public:
  JournalCheck(std::string out, FindingForm form)
    : out(std::move(out)), findings(form), journals(openJournals(this->out))
  {
  }

  std::uint64_t run();

private:
  void find(const std::string& file, const char* code, const std::string& what);
  void checkShards();
  void checkRecord(const JournalIndex& journal, const Record& record);
  void checkOutput(const Record& record, const Output& output);
  void checkOwner(const JournalIndex& journal, const Record& record, const Output& output);
  void checkFolder();
  bool isKnown(const std::string& file) const;

  std::string out;
  FindingWriter findings;
  std::vector<JournalIndex> journals;
};

void JournalCheck::find(const std::string& file, const char* code, const std::string& what)
{
  findings.write({file, code, what});
}

std::uint64_t JournalCheck::run()
{
  checkShards();
  for (const JournalIndex& journal : journals)
    journal.forEach([&](const Record& record) { checkRecord(journal, record); });
  checkFolder();
  return findings.errors();
}

void JournalCheck::checkShards()
{
  const unsigned shards = JournalReader(journals.front().path()).header().shards;
  for (unsigned shard = 1; shard <= shards; ++shard)
  {
    const std::string path = out + "/journal/" + JournalHeader{"", shard, shards}.fileName();
    const auto isIt = [&](const JournalIndex& journal) { return journal.path() == path; };
    if (std::none_of(journals.begin(), journals.end(), isIt))
      find(path, "journal-missing", base::joined("shard ", shard, " of ", shards, " has no journal"));
  }
}

void JournalCheck::checkRecord(const JournalIndex& journal, const Record& record)
{
  for (const JournalIndex& other : journals)
    if (&other > &journal && other.offsetOf(record.input) != OffsetIndex::kNone)
      find(record.input, "input-repeated", base::joined("it has records in ", journal.path(), " and ", other.path()));
  for (const Output& output : record.outputs)
  {
    checkOutput(record, output);
    checkOwner(journal, record, output);
  }
}

void JournalCheck::checkOutput(const Record& record, const Output& output)
{
  const std::string path = out + "/" + output.file;
  try
  {
    if (const std::optional<std::string> bytes = base::fileContent(path); !bytes)
      find(path, "output-missing", "output of " + record.input);
    else if (bytes->size() != output.bytes || sha256Hex(*bytes) != output.sha256)
      find(path, "output-changed", "it is not what the journal says, output of " + record.input);
  }
  catch (const base::FileError& failure)
  {
    find(path, "output-unreadable", failure.what());
  }
}

/// An output that is nobody's own, or somebody else's own too. The index names one owner, the last one.
void JournalCheck::checkOwner(const JournalIndex& journal, const Record& record, const Output& output)
{
  const std::string path = out + "/" + output.file;
  bool hasOwner = false;
  for (const JournalIndex& other : journals)
  {
    const std::optional<std::string> owner = other.holderOf(output.file, Role::owner);
    hasOwner = hasOwner || owner;
    const bool isShared = owner && !output.duplicate && (*owner != record.input || &other != &journal);
    if (isShared)
      find(path, "output-shared", base::joined("it belongs to ", record.input, " and ", *owner));
  }
  if (!hasOwner)
    find(path, "output-unowned", "a duplicate without an owner, of " + record.input);
}

bool JournalCheck::isKnown(const std::string& file) const
{
  return std::any_of(journals.begin(), journals.end(),
                     [&](const JournalIndex& journal)
                     { return journal.holderOf(file, Role::owner) || journal.holderOf(file, Role::duplicate); });
}

void JournalCheck::checkFolder()
{
  const auto checkFile = [this](const std::string& path)
  {
    const std::string file = path.substr(out.size() + 1);
    if (base::startsWith(base::baseName(path), "PR.") && !isKnown(file))
      find(path, "output-unknown", "no record has it");
  };
  FolderWalk walk({checkFile, [] {}, [this](const std::string& line) { find(out, "folder-unreadable", line); }});
  walk.leaveOut(out + "/journal");
  walk.walk(out);
}

} // namespace

int checkJournals(const std::string& out, FindingForm form)
{
  return JournalCheck(out, form).run() == 0 ? exitStatus::kDone : exitStatus::kFailed;
}

} // namespace tarn::archive
