#include "tests/support/ArchiveFolder.h"
#include "tests/support/Capture.h"
#include "tests/support/Files.h"

#include "dicom/dictionary.h"
#include "db/DBConnectorSql.h"
#include "samples/dicomFile.h"
#include "db/IMSemaphoreGlobal.h"
#include "study/cache/ObjCacheMgr.h"
#include "db/ObjectAccessor.h"
#include "db/ReferenceAccessor.h"
#include "db/SqlSession.h"
#include "tools/tarnctl.h"

#include <gtest/gtest.h>

#include <future>
#include <regex>

namespace fs = std::filesystem;
using namespace tarn;

namespace
{

constexpr char kStudy[] = "1.2.3";
const std::string kHeading = "STUDYUID\tFNAME\tSOPCLASSUID\tSOPINSTUID\tSERIESUID\tIMGCOLUMNS\tIMGROWS\tIMGFRAMES\n";
const std::string kOneOfOne =
    "1.2.3: 1 object, 1 added, 0 changed\n1 study registered; files: 1 read, 0 skipped, 0 failed\n";
const std::string kInError = "The Object Cache entry is in error status for 1.2.3";

using Elements = std::vector<samples::TextElement>;

/// An archive on an embedded database. In commands and in what comes back, {} is its folder.
class Tarnctl : public testing::Test, protected ArchiveFolder
{
protected:
  void SetUp() override { EXPECT_EQ("The tables of the database are there.\n", run("init")); }

  /// What tarnctl puts out; behind it, unless all went well in silence, "[exit status] " and what it reports.
  std::string run(const std::string& command) const
  {
    dcmDataDict.wrlock().reloadDictionaries(OFFalse, OFFalse); // as in a process of its own
    dcmDataDict.wrunlock();
    std::istringstream words("tarnctl " + replaced(command, "{}", root));
    std::vector<std::string> texts{std::istream_iterator<std::string>(words), {}};
    std::vector<char*> argv(texts.size() + 1);
    for (std::size_t i = 0; i < texts.size(); ++i)
      argv[i] = texts[i].data();
    const Capture said;
    const int status = tools::runTarnctl(static_cast<int>(texts.size()), argv.data());
    const std::string error = said.error.str();
    const bool isSilent = status == 0 && error.empty();
    return replaced(said.out.str() + (isSilent ? "" : "[" + std::to_string(status) + "] " + error), root, "{}");
  }
  /// What the table says of the study, with "then" for the time.
  std::string state() const
  {
    static const std::regex time("[0-9-]{10} [0-9:]{8}"), gap("  +");
    const std::string table = std::regex_replace(std::regex_replace(run("status 1.2.3"), time, "then"), gap, "|");
    const std::string start = "\n1.2.3|";
    return table.substr(table.find(start) + start.size());
  }

  /// Writes a CT image of the study 1.2.3 below the folder, with `changes` of its elements.
  void put(const std::string& name, const std::string& uid, const Elements& changes = {}) const
  {
    dicom::supplyAll(dcmDataDict.wrlock()); // beyond what a run has asked for
    dcmDataDict.wrunlock();
    DcmDataset dataset;
    samples::putTexts(dataset, {{DCM_SOPClassUID, UID_CTImageStorage},
                                {DCM_SOPInstanceUID, uid},
                                {DCM_Modality, "CT"},
                                {DCM_StudyInstanceUID, kStudy},
                                {DCM_SeriesInstanceUID, "1.2.3.9"},
                                {DCM_Rows, "32"},
                                {DCM_Columns, "64"}});
    for (const samples::TextElement& change : changes)
      samples::putTexts(dataset, {change});
    samples::writeFile(root / name, samples::encodeFile(dataset, EXS_LittleEndianExplicit));
  }
  /// What the converter would say of the study as it imports it, and the state behind that.
  std::string stateOnceImported() const
  {
    const auto db = db::DBConnector::createConnector();
    std::string said;
    try
    {
      said = db::ObjCacheMgr(db.get()).touchObjCache(kStudy, true) ? "" : "false";
    }
    catch (const std::exception& failure)
    {
      said = failure.what();
    }
    return said + "|" + state();
  }

  const fs::path meta = root / "meta/1.2.3/objectdb.meta";
  const Environment database{{{"TARN_LOG", "none"}, {"TARN_DB_URL", "sqlite:" + folder / "archive.db"}}};
};

TEST_F(Tarnctl, ARefusalIsOneLine)
{
  const auto expect =
      [&](const std::string& refusal, const std::string& command, const Environment::Variables& variables = {})
  {
    const Environment changed(variables);
    EXPECT_EQ(refusal + "\n", run(command));
    EXPECT_TRUE(fs::is_empty(root / "meta"));
  };
  const std::string failed = "[1] tarnctl: ", usage = "[2] tarnctl: ", seeHelp = " (see tarnctl --help)";
  expect(usage + "A command is required" + seeHelp, "");
  expect(usage + "The following argument was not expected: x\\x1B" + seeHelp, "x\033");
  expect(usage + "STUDY: '../in' is no study UID" + seeHelp, "remove-study ../in");
  expect(failed + "1.9: no such study", "status 1.9");
  expect(failed + "add-study needs these environment variables: TARGETTBL, DEVSERVTBL", "add-study {}/in",
         {{"TARGETTBL", ""}, {"DEVSERVTBL", std::nullopt}});
  expect(failed + "REPOSITORY_META={}/meta: the repository handler cannot be loaded, the log says why",
         "add-study {}/in", {{"REPOSITORYHANDLER_HOME", "/nowhere"}});
  expect(failed + "REPOSITORY_TEMPMETA=parked: repositories.conf does not name it", "add-study {}/in",
         {{"REPOSITORY_TEMPMETA", "parked"}});
  expect(failed + "the database would be in memory and end with this command (set TARN_DB_URL)", "init",
         {{"TARN_DB_URL", std::nullopt}, {"XDG_STATE_HOME", "/dev/null"}});
  expect(failed + "cannot open database x: it starts with neither mysql:// nor sqlite:", "status",
         {{"TARN_DB_URL", "x"}});
}

struct Named
{
  std::string file;
  Elements changes;
  std::string name, objectClass, size; // size: columns, rows, frames
};

const std::string kCt = "1.2.840.10008.5.1.4.1.1.2", kColorState = "1.2.840.10008.5.1.4.1.1.11.2";
const std::string kPlain = "64\t32\t<<NULL>>", kNoSize = "<<NULL>>\t<<NULL>>\t<<NULL>>";
const Elements kStateElements{
    {DCM_SOPClassUID, UID_ColorSoftcopyPresentationStateStorage}, {DCM_Rows, ""}, {DCM_Columns, ""}};
const Elements kTwelveFrames{{DCM_Modality, "MR "}, {DCM_NumberOfFrames, " 12"}};
const Named kNamed[] = {
    {"X9.1.2.3.4", {}, "X9.1.2.3.4", kCt, kPlain},
    {"X9.1.2.3.40", kTwelveFrames, "MR.1.2.3.4", kCt, "64\t32\t12"},
    {"C+%\t.1.2.3.4", {{DCM_NumberOfFrames, "9999999999"}}, "CT.1.2.3.4", kCt, kPlain},
    {"f", kStateElements, "PR.1.2.3.4", kColorState, kNoSize},
    {"f", {{DCM_SOPClassUID, "1.2"}, {DCM_Modality, "../X"}}, "OT.1.2.3.4", "1.2", kPlain},
};

TEST_F(Tarnctl, AnObjectIsOneRow)
{
  for (const Named& row : kNamed)
  {
    fs::remove_all(root / "in");
    put("in/" + row.file, "1.2.3.4", row.changes);
    EXPECT_EQ(kOneOfOne, run("add-study --replace {}/in"));
    EXPECT_EQ("1\n8\n" + kHeading + "1.2.3\t" + row.name + "\t" + row.objectClass + "\t1.2.3.4\t1.2.3.9\t" + row.size +
                  "\n",
              contents(meta));
  }
}

TEST_F(Tarnctl, WhatIsUnusableIsReportedAndOthersStand)
{
  put("in/bad/cut", "1.2.3.4");
  fs::resize_file(root / "in/bad/cut", fs::file_size(root / "in/bad/cut") - 3);
  DcmFileFormat().saveFile((root / "in/bad/bare").c_str(), EXS_LittleEndianExplicit);
  put("in/bad/path", "1.2.3.4", {{DCM_StudyInstanceUID, "../../etc"}});
  put("in/bad/series", "1.2.3.4", {{DCM_SeriesInstanceUID, ""}});
  put("in/bad/two", "1.2\\1.3");
  put("in/other/folder", "1.2.3.4", {{DCM_SOPClassUID, UID_MediaStorageDirectoryStorage}});
  std::ofstream(root / "in/other/text") << "hello\n";
  fs::create_symlink(".", root / "in/other/link");
  const std::string others = "tarnctl: {}/in/other/link: skipped, no regular file\n"
                             "tarnctl: {}/in/other/folder: skipped, a DICOMDIR\n"
                             "tarnctl: {}/in/other/text: skipped, no DICOM file\n";
  EXPECT_EQ("0 studies registered; files: 0 read, 3 skipped, 0 failed\n[1] " + others, run("add-study {}/in/other"));
  EXPECT_EQ("0 studies registered; files: 0 read, 0 skipped, 6 failed\n[1] "
            "tarnctl: {}/in/absent: No such file or directory\n"
            "tarnctl: {}/in/bad/bare: StudyInstanceUID: Tag not found\n"
            "tarnctl: {}/in/bad/cut: I/O suspension or premature end of stream\n"
            "tarnctl: {}/in/bad/path: StudyInstanceUID is no UID\n"
            "tarnctl: {}/in/bad/series: SeriesInstanceUID: Value is empty\n"
            "tarnctl: {}/in/bad/two: SOPInstanceUID: More than one value\n",
            run("add-study {}/in/bad {}/in/absent"));
  EXPECT_TRUE(fs::is_empty(root / "meta"));

  put("in/good/f", "1.2.3.5");
  const std::string added = "1.2.3: 1 object, 1 added, 0 changed\n1 study registered; files: 1 read, ";
  EXPECT_EQ(added + "3 skipped, 0 failed\n[0] " + others, run("add-study --replace {}/in/good {}/in/other"));
  const std::string mixed = run("add-study --replace {}/in");
  EXPECT_EQ(0U, mixed.find(added + "3 skipped, 5 failed\n[1] ")) << mixed;
}

TEST_F(Tarnctl, StudyComesChangesAndGoes)
{
  run("init");
  put("in/a", "1.2.3.4");
  EXPECT_EQ(kOneOfOne, run("add-study --meta-required {}/in/a {}/in"));
  EXPECT_EQ("1 (meta required)|0|none, next run imports|-|0|{}/meta/1.2.3\n", state());
  EXPECT_EQ("|1 (meta required)|1|valid|then|0|{}/meta/1.2.3\n", stateOnceImported());

  put("in/a", "1.2.3.4", {{DCM_Rows, "33"}});
  put("in/below/b", "1.2.3.5");
  EXPECT_EQ("1.2.3: 2 objects, 1 added, 1 changed\n1 study registered; files: 2 read, 0 skipped, 0 failed\n",
            run("add-study {}/in"));
  EXPECT_EQ("2 (meta required)|0|none, next run imports|-|0|{}/meta/1.2.3\n", state());
  EXPECT_EQ("|2 (meta required)|2|valid|then|0|{}/meta/1.2.3\n", stateOnceImported());
  db::ObjectRecord record;
  EXPECT_TRUE(db::DBConnector::createConnector()->objects().findObject(kStudy, "CT.1.2.3.4", record));
  EXPECT_EQ(33, record.rows);

  EXPECT_EQ(kOneOfOne, run("add-study --replace --no-meta-required {}/in/below"));
  fs::resize_file(meta, 4);
  EXPECT_EQ(kInError + "|1|0|error|then|1|{}/meta/1.2.3\n", stateOnceImported());
  EXPECT_EQ("0 studies registered; files: 2 read, 0 skipped, 0 failed\n[1] tarnctl: {}/meta/1.2.3/objectdb.meta: "
            "cannot be read, import code -9 (--replace writes it anew)\n",
            run("add-study {}/in"));
  EXPECT_EQ("1.2.3: the next run imports it\n", run("clear-error 1.2.3"));
  EXPECT_EQ("1|0|none, next run imports|-|0|{}/meta/1.2.3\n", state());

  std::ofstream(root / "meta/1.2.3/order") << "parked when the meta directory goes";
  EXPECT_EQ("1.2.3: removed\n", run("remove-study 1.2.3"));
  EXPECT_TRUE(fs::is_empty(root / "meta") && fs::is_empty(root / "temp"));
  EXPECT_EQ("[1] tarnctl: 1.2.3: no such study\n", run("remove-study 1.2.3"));
  EXPECT_EQ("STUDY  OBJECTS  ROWS  ENTRY  SINCE (UTC)  REFERENCES  META DIRECTORY\n", run("status"));
}

TEST_F(Tarnctl, KeepsColumnsAndRowsOfAnotherWriter)
{
  put("in/a", "1.2.3.4");
  samples::writeFile(meta, "0\n2\nFNAME\tNOTE\n");
  EXPECT_EQ("0 studies registered; files: 1 read, 0 skipped, 0 failed\n[1] tarnctl: {}/meta/1.2.3/objectdb.meta: "
            "has no column STUDYUID (--replace writes it anew)\n",
            run("add-study {}/in"));
  samples::writeFile(meta, "0\n9\nNOTE\t" + kHeading + "a%20b\t1.2.3\tCT.1\t\t\t\t\t\t\n");
  run("add-study {}/in");
  EXPECT_EQ("2\n9\nNOTE\t" + kHeading +
                "a%20b\t1.2.3\tCT.1\t\t\t\t\t\t\n"
                "<<NULL>>\t1.2.3\tCT.1.2.3.4\t1.2.840.10008.5.1.4.1.1.2\t1.2.3.4\t1.2.3.9\t64\t32\t<<NULL>>\n",
            contents(meta));
}

/// The database refuses to reset the entry, before the object meta file is replaced, or the new count, behind that.
TEST_F(Tarnctl, NoFailureLeavesAWrongValidEntry)
{
  put("in/a", "1.2.3.4");
  run("add-study {}/in");
  EXPECT_EQ("|1|1|valid|then|0|{}/meta/1.2.3\n", stateOnceImported());
  put("in/b", "1.2.3.5");
  const auto addWithoutCount = [&](const std::string& count)
  {
    const auto db = db::DBConnectorSql::open(db::Missing::refuse);
    db->session().execute("CREATE TRIGGER refused BEFORE INSERT ON studies WHEN NEW.OBJECTCOUNT=" + count +
                          " BEGIN SELECT RAISE(ABORT,'it is full'); END");
    EXPECT_NE(std::string::npos, run("add-study {}/in").find("\n[1] ")) << count;
    db->session().execute("DROP TRIGGER refused");
    return stateOnceImported() + contents(meta).substr(0, 1);
  };
  EXPECT_EQ("|1|1|valid|then|0|{}/meta/1.2.3\n1", addWithoutCount("1"));
  EXPECT_EQ(kInError + "|1|0|error|then|3|{}/meta/1.2.3\n2", addWithoutCount("2"));
  run("add-study {}/in");
  EXPECT_EQ("|2|2|valid|then|0|{}/meta/1.2.3\n", stateOnceImported());
}

/// A connection that stays open keeps the log, which a power cut may take away.
TEST_F(Tarnctl, WhatItDidStandsInTheFileWithoutItsLog)
{
  put("in/a", "1.2.3.4");
  const auto other = db::DBConnectorSql::open(db::Missing::refuse);
  other->session().execute("DROP TABLE studies");
  for (const std::string command : {"init", "add-study {}/in", "clear-error 1.2.3", "remove-study 1.2.3"})
  {
    if (command == "clear-error 1.2.3")
      other->references().addReference(kStudy, "STUDYDIR", "ocerror");
    other->session().sync();
    run(command);
    const std::string status = run("status");
    fs::copy_file(root / "archive.db", root / "alone.db", fs::copy_options::overwrite_existing);
    const ScopedEnvironment alone("TARN_DB_URL", "sqlite:" + folder / "alone.db");
    EXPECT_EQ(run("status"), status) << command;
  }
}

TEST_F(Tarnctl, WaitsForAnImport)
{
  put("in/a", "1.2.3.4");
  for (const std::string command : {"add-study {}/in", "clear-error 1.2.3", "remove-study 1.2.3"})
  {
    const auto db = db::DBConnector::createConnector();
    auto lock = std::make_unique<imutils::IMSemaphoreGlobal>("OBJCACHE_1.2.3", db.get());
    lock->lock_ms(1000, 10.0F, 1.5F, 1000.0F, 0.4F);
    auto changed = std::async(std::launch::async, [&] { return run(command); });
    EXPECT_EQ(std::future_status::timeout, changed.wait_for(std::chrono::milliseconds(200)));
    lock.reset();
    EXPECT_EQ(std::string::npos, changed.get().find("[1]")) << command;
  }
}

} // namespace
