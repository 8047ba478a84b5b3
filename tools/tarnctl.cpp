#include "tools/tarnctl.h"

#include "base/Console.h"
#include "base/report.h"
#include "dicom/dictionary.h"
#include "dicom/uid.h"
#include "tools/tarnctlCommands.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <functional>
#include <string>

namespace tarn::tools
{
namespace
{

enum ExitStatus
{
  kDone = 0,
  kFailed = 1,
  kUsage = 2
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

/// The command line, and what it asks for.
class CommandLine
{
public:
  CommandLine()
  {
    app.set_version_flag("--version", "tarnctl " ANNOMEND_VERSION);
    app.require_subcommand(0, 1); // a command that there is not is named in the message then
    app.footer(kEnvironment);
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    addInit();
    addAddStudy();
    addStatus();
    addOnStudy("clear-error", "Forgets that the import of a study failed: the next conversion imports it again.",
               clearError);
    addOnStudy("remove-study", "Removes a study from the database and its meta directory from the repositories.",
               removeStudy);
  }

  /// True when run() has something to do; otherwise all is said, and `status` is the exit status.
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
      status = kDone;
    }
    catch (const CLI::CallForVersion&)
    {
      consoleOut() << app.version() << '\n';
      status = kDone;
    }
    catch (const CLI::ParseError& error)
    {
      base::report("tarnctl: ", error.what(), " (see tarnctl --help)");
      status = kUsage;
    }
    return false;
  }

  bool run() const { return chosen(); }

private:
  void addInit()
  {
    app.add_subcommand("init", "Makes the tables of the database where they do not exist.")
        ->callback([this] { chosen = initDatabase; });
  }

  void addAddStudy()
  {
    CLI::App* command =
        app.add_subcommand("add-study", "Registers the studies of all DICOM files in DIR... and below.");
    command->footer(kAddStudy);
    command->add_option("DIR", directories, "Folders (or files)")->type_name("")->required();
    const auto setRequired = [this](bool required) { return [this, required] { addOptions.metaRequired = required; }; };
    CLI::Option* required = command->add_flag_callback("--meta-required", setRequired(true),
                                                       "A missing object meta file is an error for the study");
    command->add_flag_callback("--no-meta-required", setRequired(false), "It is none (so it is for a new study)")
        ->excludes(required);
    command->add_flag("--replace", addOptions.replace, "Forget the objects that the study had");
    command->callback([this] { chosen = [this] { return addStudies(directories, addOptions); }; });
  }

  void addStatus()
  {
    CLI::App* command = app.add_subcommand("status", "Shows what is known of all studies, or of one.");
    addStudyArgument(*command);
    command->callback([this] { chosen = [this] { return showStatus(study); }; });
  }

  void addOnStudy(const std::string& name, const std::string& description, bool (*action)(const std::string&))
  {
    CLI::App* command = app.add_subcommand(name, description);
    addStudyArgument(*command)->required();
    command->callback([this, action] { chosen = [this, action] { return action(study); }; });
  }

  CLI::Option* addStudyArgument(CLI::App& command)
  {
    const auto refusal = [](const std::string& text)
    { return dicom::isUid(text) ? "" : "'" + text + "' is no study UID"; };
    return command.add_option("STUDY", study, "Study Instance UID")->type_name("")->check(CLI::Validator(refusal, ""));
  }

  CLI::App app{"Administers the studies that annomend(1) converts presentation states of.", "tarnctl"};
  std::function<bool()> chosen;
  std::vector<std::string> directories;
  AddOptions addOptions;
  std::string study;
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
  ExitStatus status = kFailed;
  if (line.read(argc, argv, status))
    status = runCommandLine(line) ? kDone : kFailed;
  if (consoleOut().flush())
    return status;
  base::report("tarnctl: standard output cannot be written");
  return kFailed;
}

} // namespace tarn::tools
