// The command line of tarnctl.
#include "tools/tarnctl.h"

#include "base/Console.h"
#include "base/report.h"
#include "dicom/dictionary.h"
#include "dicom/uid.h"
#include "tools/tarnctlCommands.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <string>
#include <vector>

namespace tarn::tools
{
namespace
{

enum ExitStatus
{
  done = 0,
  failed = 1,
  misused = 2
};

constexpr char kEnvironment[] = R"(
The environment names the database (TARN_DB_URL), its tables (OBJECTTBL, QXOBJCACHETBL, TARGETTBL, DEVSERVTBL), the
repository handler (REPOSITORYHANDLER_HOME) and the repositories (REPOSITORY_META, REPOSITORY_TEMPMETA).
Exit status: 0 done, 1 failed, 2 the command line is not understood. See tarnctl(8).)";

constexpr char kAddStudy[] = R"(
A study that is registered already keeps its objects: those found are added, or changed where they differ. With
--replace it has those found and no others. The next conversion imports the study anew.
Files that are no DICOM objects are skipped. One that cannot be read is reported, the others are registered, and the
exit status is 1.)";

/// What the command line says beside the command.
struct Arguments
{
  std::vector<std::string> directories;
  AddOptions addOptions;
  std::string studyUid;
};

void takeDirectories(CLI::App& command, Arguments& arguments)
{
  command.footer(kAddStudy);
  command.add_option("DIR", arguments.directories, "Folders (or files)")->type_name("")->required();
  const auto setRequired = [&options = arguments.addOptions](bool required)
  { return [&options, required] { options.metaRequired = required; }; };
  CLI::Option* required = command.add_flag_callback("--meta-required", setRequired(true),
                                                    "A missing object meta file is an error for the study");
  command.add_flag_callback("--no-meta-required", setRequired(false), "It is none (so it is for a new study)")
      ->excludes(required);
  command.add_flag("--replace", arguments.addOptions.replace, "Forget the objects that the study had");
}

void mayTakeStudy(CLI::App& command, Arguments& arguments)
{
  const auto refusal = [](const std::string& text)
  { return dicom::isUid(text) ? "" : "'" + text + "' is no study UID"; };
  CLI::Option* option = command.add_option("STUDY", arguments.studyUid, "Study Instance UID");
  option->type_name("")->check(CLI::Validator(refusal, ""));
}

void takeStudy(CLI::App& command, Arguments& arguments)
{
  mayTakeStudy(command, arguments);
  command.get_option("STUDY")->required();
}

struct Command
{
  const char* name;
  const char* description;
  void (*takeArguments)(CLI::App& command, Arguments& arguments); ///< null where there are none
  bool (*run)(const Arguments& arguments);
};

const Command kCommands[] = {
    {"init", "Makes the tables of the database where they do not exist.", nullptr,
     [](const Arguments& /*none*/) { return initDatabase(); }},
    {"add-study", "Registers the studies of all DICOM files in DIR... and below.", takeDirectories,
     [](const Arguments& given) { return addStudies(given.directories, given.addOptions); }},
    {"status", "Shows what is known of all studies, or of one.", mayTakeStudy,
     [](const Arguments& given) { return showStatus(given.studyUid); }},
    {"clear-error", "Forgets that the import of a study failed: the next conversion imports it again.", takeStudy,
     [](const Arguments& given) { return clearError(given.studyUid); }},
    {"remove-study", "Removes a study from the database and its meta directory from the repositories.", takeStudy,
     [](const Arguments& given) { return removeStudy(given.studyUid); }},
};

/// The command line, and what it asks for.
class CommandLine
{
public:
  CommandLine()
  {
    app.set_version_flag("--version", "tarnctl " ANNOMEND_VERSION);
    app.require_subcommand(0, 1); // a command that does not exist is named in the message then
    app.footer(kEnvironment);
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    for (const Command& command : kCommands)
    {
      CLI::App* const parser = app.add_subcommand(command.name, command.description);
      if (command.takeArguments)
        command.takeArguments(*parser, arguments);
      parser->callback([this, &command] { chosen = &command; });
    }
  }

  /// Returns true when run() has something to do. Otherwise everything is printed and `status` is the exit status.
  bool read(int argc, char** argv, ExitStatus& status)
  {
    try
    {
      app.parse(argc, argv);
      if (chosen)
        return true;
      throw CLI::RequiredError("A command");
    }
    catch (const CLI::CallForHelp&)
    {
      consoleOut() << app.help();
      status = done;
    }
    catch (const CLI::CallForVersion&)
    {
      consoleOut() << app.version() << '\n';
      status = done;
    }
    catch (const CLI::ParseError& error)
    {
      base::report("tarnctl: ", error.what(), " (see tarnctl --help)");
      status = misused;
    }
    return false;
  }

  bool run() const { return chosen->run(arguments); }

private:
  CLI::App app{"Administers the studies that annomend(1) converts presentation states of.", "tarnctl"};
  Arguments arguments;
  const Command* chosen = nullptr;
};

bool runCommandLine(const CommandLine& line)
{
  try
  {
    std::string error;
    if (dicom::setUpDictionary(error))
      return line.run();
    base::report("tarnctl: ", error);
  }
  catch (const std::exception& failure)
  {
    base::report("tarnctl: ", failure.what());
  }
  return false;
}

} // namespace

int runTarnctl(int argc, char** argv)
{
  CommandLine line;
  ExitStatus status = failed;
  if (line.read(argc, argv, status))
    status = runCommandLine(line) ? done : failed;
  if (consoleOut().flush())
    return status;
  base::report("tarnctl: standard output cannot be written");
  return failed;
}

} // namespace tarn::tools
