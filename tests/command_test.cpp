#include "tests/support/MariaDbServer.h"
#include "tests/support/SqlText.h"
#include "tests/support/StateFixture.h"

#include "samples/archive.h"
#include "db/DBConnectorSql.h"
#include "samples/dicomFile.h"
#include "tests/support/Files.h"
#include "converter/PSConverter.h"
#include "db/SqlSession.h"
#include "converter/command.h"

#include <dcmtk/dcmdata/dcdict.h>

#include <cstdlib>
#include <map>
#include <regex>

#include <sys/wait.h>

using namespace impsconverter;

namespace
{

/// The help: its first line, an option a line, its last line.
const std::regex
    kHelp("\nUsage:\n\n  annomend [^\n]*\n\n     -h [^]*\n     -N [^]*\n     -f <[^]*\n     -o <[^]*\n     -i [^]*"
          "\n     -x [^]*\n     -d [^\n]*\n\n\nConverts annotations [^\n]* to DICOM compliant format\n");
const std::string kUsage = "(help)";
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
  std::string error() const { return std::regex_replace(contents(folder / "error"), kHelp, kUsage); }

  const std::filesystem::path work = folder.path() / "work";
};

struct Row
{
  const char* name;
  std::string command;
  int status;
  std::string error;
  std::vector<std::string> files = {}; ///< made in the working directory
};

const std::string kPr = "PR.1.2.826.0.1.7770001.2.11.7.1.123.45";
const std::string kMissing = "Missing argument: Presentation State file\n";
const std::string kUnwritten = "Standard output cannot be written\n", kNoDictionary = "Data dictionary ";
const std::string kOwnDictionary = "printf \"(0008,0018)\tUI\tOwnName\t1\tOwn\n\" >../own; "
                                   "DCMDICTPATH=../own $P -N -d -f ../in.dcm >../dump && ";
const Row kRows[] = {
    {"NoArgument", "$P", 1, kMissing},
    {"EmptyLastInput", "$P -N -f ../in.dcm -f \"\"", 1, kMissing},
    {"HelpEndsTheScan", "$P -hzf ../in.dcm", 1, kUsage},
    {"OptionWithoutItsValue", "$P -f ../in.dcm -o", 1, "Unrecognized option: '-o'\n" + kUsage},
    {"NoPrefix", "$P -N -f ../in.dcm", 0, kFound, {kPr}},
    {"ValueAfterCombinedOptions", "$P -Nopre -f ../in.dcm", 0, kFound, {"pre" + kPr}},
    {"SecondPrefix", "$P -N -f ../in.dcm -o /nowhere/ -o ./", 0, kFound, {kPr}},
    {"Copy", "$P -N -f ../in.dcm -i", 0, kFound, {kPr, "in.dcm"}},
    {"PrefixOfTheCopy", "$P -Nix -f ../in.dcm -o copy-", 0, kFound, {"copy-" + kPr, "copy-in.dcm"}},

    // Where no database is needed, none is opened; a dump comes before it is.
    {"NothingToConvert", "TARN_DB_URL=x $P -N -f ../bad.dcm", 1,
     "Plugin State contains no figure\nPSConverter returned error\n"},
    {"AbsentInput", "TARN_DB_URL=x $P -f absent", 0, "absent could not be loaded: No such file or directory\n"},
    {"DumpBeforeTheDatabase",
     "TARN_DB_URL=x $P -d -f ../in.dcm >../dump; test $? = 1 && grep -q Dicom-Data-Set ../dump", 0,
     "annomend: cannot open database x: it starts with neither mysql:// nor sqlite:\n"},

    {"ClosedStreams", "$P -N -d -f ../in.dcm <&- >&- 2>&-", 0, "", {kPr}},
    {"NobodyReads", "(sleep 0.1; $P -N -d -f ../in.dcm) | true", 0, kFound + kUnwritten, {kPr}},

    {"AbsentDictionary", "DCMDICTPATH=/absent $P -N -f ../in.dcm", 1,
     kNoDictionary + "/absent could not be read: No such file or directory\n"},
    {"TextThatIsNoDictionary", "printf \"no\tdictionary\n\" >../none; DCMDICTPATH=../none $P -N -f ../in.dcm", 1,
     kNoDictionary + "../none could not be read: it is not a data dictionary\n"},
    {"NameInTheOwnDictionary", kOwnDictionary + "grep OwnName ../dump >../own", 0, kFound, {kPr}},
    {"NameThatTheOwnDictionaryLacks", kOwnDictionary + "grep SOPClassUID ../dump >../own", 0, kFound, {kPr}},
};

struct Command : CommandTest, testing::WithParamInterface<Row>
{
};
INSTANTIATE_TEST_SUITE_P(Each, Command, testing::ValuesIn(kRows), [](const auto& row) { return row.param.name; });

TEST_P(Command, EndsWithAStatusMessagesAndFiles)
{
  EXPECT_EQ(shell(GetParam().command), GetParam().status);
  EXPECT_EQ(error(), GetParam().error);
  EXPECT_EQ(namesIn(work), GetParam().files);
}

/// What the server was asked for so far, by the names of its counters.
std::map<std::string, int> asked(tarn::db::DBConnectorSql& counter)
{
  std::map<std::string, int> counts;
  for (const std::string& row : select(counter, "SELECT CONCAT(VARIABLE_NAME, ' ', VARIABLE_VALUE) FROM "
                                                "information_schema.GLOBAL_STATUS WHERE VARIABLE_NAME IN "
                                                "('COM_STMT_EXECUTE', 'COM_STMT_PREPARE', 'CONNECTIONS')"))
    counts[row.substr(0, row.find(' '))] = std::stoi(row.substr(row.find(' ')));
  return counts;
}

TEST_F(CommandTest, OneConnectionOneStatementOneLookUpAnObject)
{
  const std::string sought = "File X.9 was not found in the database - checking referenced series sequence\n"
                             "Could not get SOP class UID for X.9 referenced in annotations - excluding from output\n";
  // Objects that the database knows, that nothing knows, and that the state itself refers to, each more than once.
  put("many.dcm", "label\\ID+/CT.1.2.3_1\\ID+/X.9_1\\ID+/CT.1.2.3_2%0AID+/X.1.2.4_1\\ID+/X.9_1\\ID+/X.1.2.4_1");
  const ScopedEnvironment database("TARN_DB_URL", MariaDbServer::shared().createDatabase());
  const auto counter = tarn::db::DBConnectorSql::open(tarn::db::Missing::create);
  counter->createTables();
  counter->session().execute("INSERT INTO objects VALUES ('1.2','CT.1.2.3','8.1','1.2.3','9.1',1,1,1)");
  auto before = asked(*counter);
  EXPECT_EQ(0, shell("$P -N -f ../many.dcm -o ../out/"));
  EXPECT_EQ(sought + kFound + sought + kFound, error());
  EXPECT_EQ(4U, outputNames().size());
  auto after = asked(*counter); // which itself executes a statement that is prepared already
  EXPECT_EQ(after["COM_STMT_EXECUTE"] - before["COM_STMT_EXECUTE"], 3 + 1) << "there are three objects";
  EXPECT_EQ(after["COM_STMT_PREPARE"] - before["COM_STMT_PREPARE"], 1);
  EXPECT_EQ(after["CONNECTIONS"] - before["CONNECTIONS"], 1);
}

struct SampleStates : CommandTest
{
  ~SampleStates() override { reload(OFTrue); } // for other tests

  /// Forgets the dictionary; without `external`, as in a process that just began.
  static void reload(bool external)
  {
    dcmDataDict.wrlock().reloadDictionaries(OFFalse, external);
    dcmDataDict.wrunlock();
  }
  /// What a conversion says, its result and the outputs, which it takes away.
  template <class Convert>
  std::string outcome(Convert convert) const
  {
    const Capture said;
    const char* const result = convert() ? "good" : "bad";
    std::string all = said.out.str() + said.error.str() + result;
    for (const std::string& name : outputNames())
    {
      all += name + contents(prefix + name);
      std::filesystem::remove(prefix + name);
    }
    return all;
  }
  /// By the library, with the toolkit's text dictionary.
  std::string converted(const std::string& path, bool debug)
  {
    reload(OFTrue);
    constexpr unsigned long kFlags = PSC_includeOriginal | PSC_fixOriginal;
    return outcome([&] { return PSConverter(*db, path, prefix, kFlags, debug).convert(false); });
  }
  /// By the program's command, in this process.
  std::string commanded(std::vector<std::string> words) const
  {
    reload(OFFalse);
    std::vector<char*> arguments(words.size() + 1);
    for (std::size_t i = 0; i < words.size(); ++i)
      arguments[i] = words[i].data();
    return outcome([&] { return runCommand(static_cast<int>(words.size()), arguments.data()) == 0; });
  }
};

/// What is printed, and what the dictionary comes from, compiled in or a text laid over it, changes no byte of the
/// rest.
TEST_F(SampleStates, BecomeTheSameWithADumpAndWithEveryDictionary)
{
  samples::writeArchive(folder.path());
  DcmFileFormat bare; // has no file meta information, no item delimiters, and not what outputs and copies are given
  bare.loadFile((folder / "states/annotations-all-kinds.dcm").c_str());
  for (const DcmTagKey& tag : {DCM_InstanceNumber, DCM_Modality, DCM_ContentDescription, DCM_ContentCreatorName,
                               DCM_PresentationLUTShape, DCM_DisplayedAreaSelectionSequence})
    bare.getDataset()->findAndDeleteElement(tag);
  bare.saveFile((folder / "states/bare.dcm").c_str(), EXS_LittleEndianImplicit, EET_ExplicitLength, EGL_recalcGL,
                EPD_noChange, 0, 0, EWM_dataset);
  for (const std::string& name : namesIn(folder / "states"))
  {
    const std::string path = folder / "states/" + name;
    const std::string quiet = converted(path, false), dump = converted(path, true);
    ASSERT_LT(quiet.size(), dump.size()) << path;
    EXPECT_TRUE(dump.substr(dump.size() - quiet.size()) == quiet) << path;
    for (const char* dictionary : {"", DCM_DICT_DEFAULT_PATH})
    {
      const ScopedEnvironment variable("DCMDICTPATH", dictionary);
      EXPECT_TRUE(commanded({"annomend", "-Nixd", "-f", path, "-o", prefix}) == dump) << path << dictionary;
    }
  }
}

} // namespace
