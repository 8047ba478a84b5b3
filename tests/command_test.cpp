#include "MariaDbServer.h"
#include "SqlText.h"
#include "StateFixture.h"

#include "Archive.h"
#include "ArchiveAdmin.h"
#include "DBConnectorSql.h"
#include "DicomFile.h"
#include "Files.h"
#include "PSConverter.h"
#include "SqlSession.h"
#include "command.h"

#include <dcmtk/dcmdata/dcdict.h>

#include <algorithm>
#include <cstdlib>
#include <map>

#include <sys/wait.h>

using namespace impsconverter;

namespace
{

const std::string kUsage =
    "\n"
    "Usage:\n"
    "\n"
    "  annomend [-h] [-N] -f <inputFile> [-o <output prefix>]\n"
    "\n"
    "     -h                  :    prints this help\n"
    "     -N                  :    do not touch the object cache\n"
    "                              to be used when the caller is certain that the object table is loaded for the "
    "study\n"
    "     -f <inputFile>      :    presentation state file to convert\n"
    "     -o <output prefix>  :    prefix for output files (will be empty if missing)\n"
    "     -i                  :    also save a copy of the original (input) presentation state file\n"
    "     -x                  :    fix (make DICOM compliant) the copy of the original presentation state file (only "
    "with -i)\n"
    "     -d                  :    print debug messages\n"
    "\n"
    "\n"
    "Converts annotations stored in QX private tags in a Presentation State file to DICOM compliant format\n";

const std::string kFound = "File X.1.2.4 was not found in the database - checking referenced series sequence\n";

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

  /// Runs the command in this process; in the arguments `@` stands for the folder of the test.
  Outcome run(std::vector<std::string> arguments, int& status) const
  {
    std::vector<char*> argv;
    arguments.insert(arguments.begin(), "annomend");
    for (std::string& argument : arguments)
    {
      argument = inFolder(argument);
      argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    const Capture said;
    status = runCommand(static_cast<int>(arguments.size()), argv.data());
    return {status == 0, said.error.str(), said.out.str()};
  }

  /// Runs the program through the shell, in the folder of the test; its exit status.
  int shell(const std::string& command) const
  {
    const std::string script =
        "cd " + folder.path().string() + " && P=" + ANNOMEND_PROGRAM + " && set -o pipefail && " + command;
    const int status = std::system(("bash -c '" + script + "'").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  std::string inFolder(std::string text) const
  {
    for (std::size_t at = 0; (at = text.find('@')) != std::string::npos;)
      text.replace(at, 1, folder.path().string());
    return text;
  }
};

TEST_F(CommandTest, ReadsItsOptions)
{
  const std::string missing = "Missing argument: Presentation State file\n";
  const auto unknown = [](const std::string& option) { return "Unrecognized option: '-" + option + "'\n" + kUsage; };
  struct Row
  {
    std::vector<std::string> arguments;
    int status;
    std::string error;
    std::vector<std::string> files; ///< made in the folder of the test
  };
  const std::string pr = kFirstName;
  const Row rows[] = {
      {{}, 1, missing, {}},
      {{"-f", ""}, 1, missing, {}},
      {{"-N", "-f", "@/in.dcm", "-f", ""}, 1, missing, {}},
      {{"-hf", "@/in.dcm"}, 1, kUsage, {}},
      {{"-h", "-z"}, 1, kUsage, {}},
      {{"-:"}, 1, unknown(":"), {}},
      {{"--help"}, 1, unknown("-"), {}},
      {{"-f", "@/in.dcm", "-o"}, 1, unknown("o"), {}},
      {{"-\n"}, 1, unknown("\\x0A"), {}},
      {{"-N", "-f", "@/bad.dcm", "-o", "@/"}, 1, "Plugin State contains no figure\nPSConverter returned error\n", {}},
      {{"-N", "-f", "@/absent"}, 0, "@/absent could not be loaded: No such file or directory\n", {}},
      {{"-N", "-f", "@/in.dcm", "-o", "@/"}, 0, kFound, {pr}},
      {{"-No@/", "-f@/in.dcm"}, 0, kFound, {pr}},
      {{"-N", "-f", "@/in.dcm", "-o", "@/pre"}, 0, kFound, {"pre" + pr}},
      {{"-f", "@/bad.dcm", "-o", "/nowhere/", "operand", "-f", "@/in.dcm", "-N", "-o", "@/", "-i"}, 0, kFound, {pr}},
      {{"-Nix", "-f", "@/in.dcm", "-o", "@/copy-"}, 0, kFound, {"copy-" + pr, "copy-in.dcm"}},
  };
  const std::vector<std::string> before = namesIn(folder.path());
  for (const Row& row : rows)
  {
    SCOPED_TRACE(testing::PrintToString(row.arguments));
    int status = -1;
    const Outcome outcome = run(row.arguments, status);
    EXPECT_EQ(row.status, status);
    EXPECT_EQ(inFolder(row.error), outcome.error);
    EXPECT_EQ("", outcome.out);
    std::vector<std::string> expected = before;
    expected.insert(expected.end(), row.files.begin(), row.files.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(expected, namesIn(folder.path()));
    for (const std::string& file : row.files)
      if (file != "in.dcm")
        std::filesystem::remove(folder.path() / file);
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
  int status = -1;
  EXPECT_EQ(sought + kFound + sought + kFound, run({"-N", "-f", "@/many.dcm", "-o", "@/out/"}, status).error);
  EXPECT_EQ(4U, outputNames().size());
  EXPECT_EQ(asked(*counter), (std::vector<int>{before.at(0) + 3 + 1, before.at(1) + 1 + 1, before.at(2) + 1}));
}

TEST_F(CommandTest, TheProgramEndsWithAStatus)
{
  const std::string pr = "test -s " + std::string(kFirstName);
  struct Row
  {
    const char* name;
    std::string command;
    int status;
    std::string error;
  };
  const Row rows[] = {
      {"a conversion into the working directory", "$P -N -f in.dcm 2>error && " + pr, 0, kFound},
      {"a failure", "$P -N -f bad.dcm 2>error", 1, "Plugin State contains no figure\nPSConverter returned error\n"},
      {"no database", "TARN_DB_URL=sqlite:/absent/db $P -N -f in.dcm 2>error", 1, "annomend: cannot open database "},
      {"no database for the object cache", "TARN_DB_URL=x $P -f in.dcm 2>error", 1,
       "annomend: cannot open database x:"},
      {"no figure, no database needed", "TARN_DB_URL=x $P -N -f bad.dcm 2>error", 1,
       "Plugin State contains no figure\nPSConverter returned error\n"},
      {"no input, no database needed", "TARN_DB_URL=x $P -f absent 2>error", 0,
       "absent could not be loaded: No such file or directory\n"},
      {"a dump before there is no database",
       "{ TARN_DB_URL=x $P -d -f in.dcm 2>error >dump; test $? = 1; } && grep -q Dicom-Data-Set dump", 0,
       "annomend: cannot open database x:"},
      {"all streams closed", "$P -N -d -f in.dcm <&- >&- 2>&- && " + pr, 0, kFound},
      {"a reader that went away", "(sleep 0.1; $P -N -d -f in.dcm 2>error) | true && " + pr, 0,
       kFound + "Standard output cannot be written\n"},
      {"a data dictionary that is not there", "DCMDICTPATH=/absent $P -N -f in.dcm 2>error", 1,
       "Data dictionary /absent could not be read: No such file or directory\n"},
      {"a data dictionary that is none",
       "printf \"no\\tdictionary\\n\" >none; DCMDICTPATH=none $P -N -f in.dcm 2>error", 1,
       "Data dictionary none could not be read: it is not a data dictionary\n"},
      {"a data dictionary of one's own, over the one compiled in",
       "printf \"(0008,0018)\\tUI\\tOwnName\\t1\\tOwn\\n\" >own; DCMDICTPATH=own $P -N -d -f in.dcm 2>error >dump && "
       "grep OwnName dump >own && grep SOPClassUID dump >own",
       0, kFound},
      {"damage is said once", "head -c 400 in.dcm >cut.dcm; $P -N -f cut.dcm 2>error", 0,
       "cut.dcm could not be loaded: "},
  };
  for (const Row& row : rows)
  {
    SCOPED_TRACE(row.name);
    std::filesystem::remove(folder.path() / kFirstName);
    samples::writeFile(folder.path() / "error", row.error);
    EXPECT_EQ(row.status, shell(row.command));
    const std::string error = contents(folder.path() / "error");
    EXPECT_EQ(row.error, row.error.back() == '\n' ? error : error.substr(0, row.error.size()));
    EXPECT_EQ(std::count(row.error.begin(), row.error.end(), '\n') + (row.error.back() == '\n' ? 0 : 1),
              std::count(error.begin(), error.end(), '\n'));
  }
}

/// Ends the process with 0 where every sample state gives the same dump, messages and files with the toolkit's text
/// dictionary, with the one compiled in, and with the text files laid over that.
[[noreturn]] void compareDictionaries(tarn::db::DBConnector& db)
{
  const TempDir dir;
  const std::string out = dir.path() / "out/";
  samples::writeArchive(dir.path());
  // One without what most have anyway: file meta information, item delimiters, what outputs and copies are given.
  DcmFileFormat bare;
  bare.loadFile((dir.path() / "states/annotations-all-kinds.dcm").c_str());
  for (const DcmTagKey& tag : {DCM_InstanceNumber, DCM_Modality, DCM_ContentDescription, DCM_ContentCreatorName,
                               DCM_PresentationLUTShape, DCM_DisplayedAreaSelectionSequence})
    bare.getDataset()->findAndDeleteElement(tag);
  bare.saveFile((dir.path() / "states/bare.dcm").c_str(), EXS_LittleEndianImplicit, EET_ExplicitLength, EGL_recalcGL,
                EPD_noChange, 0, 0, EWM_dataset);
  const auto outcome = [&](const auto& convert)
  {
    std::filesystem::create_directory(out);
    const Capture said;
    const char* const result = convert() ? "good" : "bad";
    std::string all = said.out.str() + said.error.str() + result;
    for (const std::string& name : namesIn(out))
      all += name + contents(out + name);
    std::filesystem::remove_all(out);
    return all;
  };
  const auto withCommand = [&](std::string state)
  {
    dcmDataDict.wrlock().reloadDictionaries(OFFalse, OFFalse);
    dcmDataDict.wrunlock();
    std::string words[] = {"annomend", "-Nixd", "-f", std::move(state), "-o", out};
    char* arguments[] = {words[0].data(), words[1].data(), words[2].data(), words[3].data(),
                         words[4].data(), words[5].data(), nullptr};
    return runCommand(6, arguments) == 0;
  };
  constexpr unsigned long kFlags = PSC_includeOriginal | PSC_fixOriginal;
  std::map<std::string, std::string> expected;
  for (const std::string& name : namesIn(dir.path() / "states"))
  {
    const std::string state = dir.path() / "states" / name;
    const auto converted = [&](bool dumped)
    { return outcome([&] { return PSConverter(db, state, out, kFlags, dumped).convert(false); }); };
    expected[state] = converted(true);
    const std::string quiet = converted(false); // annotations are encoded as they come
    const std::string& dump = expected[state];
    if (quiet.size() >= dump.size() || dump.compare(dump.size() - quiet.size(), quiet.size(), quiet) != 0)
      std::cerr << "a dump changes " << state << "; ";
  }
  for (const char* paths : {"", DCM_DICT_DEFAULT_PATH})
    for (const auto& state : expected)
      if (setenv("DCMDICTPATH", paths, 1); outcome([&] { return withCommand(state.first); }) != state.second)
        std::cerr << "'" << paths << "' changes " << state.first << "; ";
  std::cerr << expected.size() << " states";
  _exit(0);
}

TEST_F(CommandTest, EveryDictionaryGivesTheSame)
{
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(compareDictionaries(*db), testing::ExitedWithCode(0), "^16 states$");
}

} // namespace
