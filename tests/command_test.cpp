#include "tests/support/MariaDbServer.h"
#include "tests/support/SqlText.h"
#include "tests/support/StateFixture.h"

#include "samples/Archive.h"
#include "db/ArchiveAdmin.h"
#include "db/DBConnectorSql.h"
#include "samples/DicomFile.h"
#include "tests/support/Files.h"
#include "converter/PSConverter.h"
#include "db/SqlSession.h"
#include "converter/command.h"

#include <dcmtk/dcmdata/dcdict.h>

#include <cstdlib>
#include <map>

#include <sys/wait.h>

using namespace impsconverter;

namespace
{

/// Stands for the usage in what the rows expect.
const std::string kUsage = "(usage)";

/// What was said, with kUsage in place of a usage that names every option.
std::string shortened(std::string text)
{
  const std::string end = " in a Presentation State file to DICOM compliant format\n";
  const std::size_t start = text.find("\nUsage:\n\n  annomend [-h] [-N] -f <inputFile> [-o <output prefix>]\n\n");
  const std::size_t last = text.find(end);
  if (start == std::string::npos || last == std::string::npos)
    return text;
  for (const char* const option : {"-h", "-N", "-f <inputFile>", "-o <output prefix>", "-i", "-x", "-d"})
    EXPECT_NE(text.find("\n     " + std::string(option) + " ", start), std::string::npos) << option;
  return text.replace(start, last + end.size() - start, kUsage);
}

const std::string kFound = "File X.1.2.4 was not found in the database - checking referenced series sequence\n";

/// Runs the program in a folder of its own, beside its inputs.
class CommandTest : public StateFixture
{
protected:
  CommandTest()
  {
    put("in.dcm", "label\\ID+/X.1.2.4_1");
    put("bad.dcm", "label");
  }
  void put(const char* name, const std::string& pluginState) const
  {
    const auto bytes = samples::encodeFile(*state(pluginState)->getDataset(), EXS_LittleEndianExplicit);
    samples::writeFile(folder.path() / name, bytes);
  }

  /// Has the shell run `command`, where $P is the program; its exit status.
  int shell(const std::string& command) const
  {
    std::filesystem::create_directory(work);
    const std::string script =
        "cd " + work.string() + " && P=" + ANNOMEND_PROGRAM + " && set -o pipefail && { " + command + "; } 2>../error";
    const int status = std::system(("bash -c '" + script + "'").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  std::string error() const { return contents(folder.path() / "error"); }

  const std::filesystem::path work = folder.path() / "work";
};

std::string unrecognized(const std::string& option)
{
  return "Unrecognized option: '-" + option + "'\n" + kUsage;
}

struct Row
{
  std::string command;
  int status;
  std::string error;
  std::vector<std::string> files = {}; ///< made in the working directory
};

const std::string kPr = "PR.1.2.826.0.1.7770001.2.11.7.1.123.45";
const std::string kMissing = "Missing argument: Presentation State file\n";
const std::string kNoDatabase = "annomend: cannot open database ", kNoDictionary = "Data dictionary ";
const Row kRows[] = {
    {"$P", 1, kMissing},
    {"$P -N -f ../in.dcm -f \"\"", 1, kMissing},
    {"$P -hzf ../in.dcm", 1, kUsage},
    {"$P -:", 1, unrecognized(":")},
    {"$P --help", 1, unrecognized("-")},
    {"$P -f ../in.dcm -o", 1, unrecognized("o")},
    {"$P \"-$(printf \"\nx\")\"", 1, unrecognized("\\x0A")},
    {"$P -N -f ../in.dcm", 0, kFound, {kPr}},
    {"$P -Nopre -f../in.dcm", 0, kFound, {"pre" + kPr}},
    {"$P -f ../bad.dcm -o /nowhere/ operand -f ../in.dcm -N -o ./ -i", 0, kFound, {kPr, "in.dcm"}},
    {"$P -Nix -f ../in.dcm -o copy-", 0, kFound, {"copy-" + kPr, "copy-in.dcm"}},
    {"head -c 400 ../in.dcm >../cut.dcm; $P -N -f ../cut.dcm", 0, "../cut.dcm could not be loaded: Invalid stream\n"},

    // Where no database is needed, none is opened; a dump comes before it is.
    {"TARN_DB_URL=x $P -N -f ../bad.dcm", 1, "Plugin State contains no figure\nPSConverter returned error\n"},
    {"TARN_DB_URL=x $P -f absent", 0, "absent could not be loaded: No such file or directory\n"},
    {"TARN_DB_URL=sqlite:/absent/db $P -N -f ../in.dcm", 1,
     kNoDatabase + "sqlite:/absent/db: cannot open the file: No such file or directory\n"},
    {"TARN_DB_URL=x $P -d -f ../in.dcm >../dump; test $? = 1 && grep -q Dicom-Data-Set ../dump", 0,
     kNoDatabase + "x: it starts with neither mysql:// nor sqlite:\n"},

    // Nobody hears, or no longer.
    {"$P -N -d -f ../in.dcm <&- >&- 2>&-", 0, "", {kPr}},
    {"(sleep 0.1; $P -N -d -f ../in.dcm) | true", 0, kFound + "Standard output cannot be written\n", {kPr}},

    {"DCMDICTPATH=/absent $P -N -f ../in.dcm", 1,
     kNoDictionary + "/absent could not be read: No such file or directory\n"},
    {"printf \"no\tdictionary\n\" >../none; DCMDICTPATH=../none $P -N -f ../in.dcm", 1,
     kNoDictionary + "../none could not be read: it is not a data dictionary\n"},
    {"printf \"(0008,0018)\tUI\tOwnName\t1\tOwn\n\" >../own; DCMDICTPATH=../own $P -N -d -f ../in.dcm >../dump && "
     "grep OwnName ../dump >../own && grep SOPClassUID ../dump >../own",
     0,
     kFound,
     {kPr}},
};

TEST_F(CommandTest, EndsWithAStatusMessagesAndFiles)
{
  for (const Row& row : kRows)
  {
    SCOPED_TRACE(row.command);
    std::filesystem::remove_all(work);
    EXPECT_EQ(row.status, shell(row.command));
    EXPECT_EQ(row.error, shortened(error()));
    EXPECT_EQ(row.files, namesIn(work));
  }
}

/// What the server was asked for so far: executions and preparations of statements, connections.
std::vector<int> asked(tarn::db::DBConnectorSql& counter)
{
  std::vector<int> counts;
  for (const std::string& count : select(counter, "SELECT VARIABLE_VALUE FROM information_schema.GLOBAL_STATUS WHERE "
                                                  "VARIABLE_NAME IN ('COM_STMT_EXECUTE', 'COM_STMT_PREPARE', "
                                                  "'CONNECTIONS') ORDER BY VARIABLE_NAME"))
    counts.push_back(std::stoi(count));
  return counts;
}

TEST_F(CommandTest, OneConnectionOneStatementOneLookUpAnObject)
{
  const std::string sought = "File X.9 was not found in the database - checking referenced series sequence\n"
                             "Could not get SOP class UID for X.9 referenced in annotations - excluding from output\n";
  put("many.dcm", "label\\ID+/CT.1.2.3_1\\ID+/X.9_1\\ID+/CT.1.2.3_2%0AID+/X.1.2.4_1\\ID+/X.9_1\\ID+/X.1.2.4_1");
  const ScopedEnvironment database("TARN_DB_URL", MariaDbServer::shared().createDatabase());
  const auto counter = tarn::db::DBConnectorSql::open(tarn::db::Missing::create);
  tarn::db::ArchiveAdmin(*counter).createSchema();
  counter->session().execute("INSERT INTO objects VALUES ('1.2','CT.1.2.3','8.1','1.2.3','9.1',1,1,1)");
  const std::vector<int> before = asked(*counter); // is itself a statement that is prepared and executed
  EXPECT_EQ(0, shell("$P -N -f ../many.dcm -o ../out/"));
  EXPECT_EQ(sought + kFound + sought + kFound, error());
  EXPECT_EQ(4U, outputNames().size());
  EXPECT_EQ(asked(*counter), (std::vector<int>{before.at(0) + 3 + 1, before.at(1) + 1 + 1, before.at(2) + 1}));
}

/// Every sample state gives the same dump, messages and files with the toolkit's text dictionary, with the one compiled
/// in, and with the text files laid over that.
TEST_F(CommandTest, EveryDictionaryGivesTheSame)
{
  samples::writeArchive(folder.path());
  const std::string states = folder / "states/", out = folder / "out/";
  // One without what most have anyway: file meta information, item delimiters, what outputs and copies are given.
  DcmFileFormat bare;
  bare.loadFile((states + "annotations-all-kinds.dcm").c_str());
  for (const DcmTagKey& tag : {DCM_InstanceNumber, DCM_Modality, DCM_ContentDescription, DCM_ContentCreatorName,
                               DCM_PresentationLUTShape, DCM_DisplayedAreaSelectionSequence})
    bare.getDataset()->findAndDeleteElement(tag);
  bare.saveFile((states + "bare.dcm").c_str(), EXS_LittleEndianImplicit, EET_ExplicitLength, EGL_recalcGL, EPD_noChange,
                0, 0, EWM_dataset);
  const auto outcome = [&](const auto& convert)
  {
    const Capture said;
    const char* const result = convert() ? "good" : "bad";
    std::string all = said.out.str() + said.error.str() + result;
    for (const std::string& name : outputNames())
    {
      all += name + contents(out + name);
      std::filesystem::remove(out + name);
    }
    return all;
  };
  constexpr unsigned long kFlags = PSC_includeOriginal | PSC_fixOriginal;
  std::map<std::string, std::string> expected;
  for (const std::string& name : namesIn(states))
  {
    const std::string state = states + name;
    const auto converted = [&](bool dumped)
    { return outcome([&] { return PSConverter(*db, state, out, kFlags, dumped).convert(false); }); };
    const std::string dump = expected[state] = converted(true);
    const std::string quiet = converted(false);
    ASSERT_LT(quiet.size(), dump.size()) << state;
    EXPECT_TRUE(dump.substr(dump.size() - quiet.size()) == quiet) << "a dump changes " << state;
  }
  EXPECT_EQ(16U, expected.size());
  const auto command = [](std::vector<std::string> words)
  {
    std::vector<char*> arguments(words.size() + 1);
    std::transform(words.begin(), words.end(), arguments.begin(), [](std::string& word) { return word.data(); });
    return runCommand(static_cast<int>(words.size()), arguments.data()) == 0;
  };
  for (const char* const paths : {"", DCM_DICT_DEFAULT_PATH})
    for (const auto& [state, wanted] : expected)
    {
      const ScopedEnvironment variable("DCMDICTPATH", paths);
      dcmDataDict.wrlock().reloadDictionaries(OFFalse, OFFalse); // as in a process of its own
      dcmDataDict.wrunlock();
      outcome([&] { return command({"annomend", "-hz"}); }); // a scan that ends early leaves nothing to the next
      const std::vector<std::string> words{"annomend", "-Nixd", "-f", state, "-o", out};
      EXPECT_TRUE(outcome([&] { return command(words); }) == wanted) << "'" << paths << "' changes " << state;
    }
  dcmDataDict.wrlock().reloadDictionaries(OFFalse, OFTrue); // for other tests
  dcmDataDict.wrunlock();
}

} // namespace
