// The command line of tarnctl.
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
    add("init", "Makes the tables of the database where they do not exist.", initDatabase);
    takeDirectories(add("add-study", "Registers the studies of all DICOM files in DIR... and below.",
                        [this] { return addStudies(directories, addOptions); }));
    takeStudy(add("status", "Shows what is known of all studies, or of one.", [this] { return showStatus(studyUid); }));
    takeStudy(add("clear-error", "Forgets that the import of a study failed: the next conversion imports it again.",
                  [this] { return clearError(studyUid); }))
        .required();
    takeStudy(add("remove-study", "Removes a study from the database and its meta directory from the repositories.",
                  [this] { return removeStudy(studyUid); }))
        .required();
  }

  /// Runs the command and returns the exit status.
  ExitStatus run(int argc, char** argv)
  {
    try
    {
      app.parse(argc, argv);
      if (!command)
        throw CLI::RequiredError("A command");
      return runCommand() ? done : failed;
    }
    catch (const CLI::Success& asked) // for the help, or the version
    {
      app.exit(asked, consoleOut());
      return done;
    }
    catch (const CLI::ParseError& error)
    {
      base::report("tarnctl: ", error.what(), " (see tarnctl --help)");
      return misused;
    }
  }

private:
  CLI::App& add(const char* name, const char* description, const std::function<bool()>& run)
  {
    CLI::App* const parser = app.add_subcommand(name, description);
    parser->callback([this, run] { command = run; });
    return *parser;
  }

  void takeDirectories(CLI::App& parser)
  {
    parser.footer(kAddStudy);
    parser.add_option("DIR", directories, "Folders (or files)")->type_name("")->required();
    const auto setRequired = [this](bool required) { return [this, required] { addOptions.metaRequired = required; }; };
    CLI::Option* required = parser.add_flag_callback("--meta-required", setRequired(true),
                                                     "A missing object meta file is an error for the study");
    parser.add_flag_callback("--no-meta-required", setRequired(false), "It is none (so it is for a new study)")
        ->excludes(required);
    parser.add_flag("--replace", addOptions.replace, "Forget the objects that the study had");
  }

  CLI::Option& takeStudy(CLI::App& parser)
  {
    const auto refusal = [](const std::string& text)
    { return dicom::isUid(text) ? "" : "'" + text + "' is no study UID"; };
    CLI::Option* option = parser.add_option("STUDY", studyUid, "Study Instance UID");
    return *option->type_name("")->check(CLI::Validator(refusal, ""));
  }

  bool runCommand() const
  {
    try
    {
      std::string error;
      if (dicom::setUpDictionary(error))
        return command();
      base::report("tarnctl: ", error);
    }
    catch (const std::exception& failure)
    {
      base::report("tarnctl: ", failure.what());
    }
    return false;
  }

  CLI::App app{"Administers the studies that annomend(1) converts presentation states of.", "tarnctl"};
  std::vector<std::string> directories;
  AddOptions addOptions;
  std::string studyUid;
  std::function<bool()> command; ///< the one that is chosen
};

} // namespace

int runTarnctl(int argc, char** argv)
{
  const ExitStatus status = CommandLine().run(argc, argv);
  if (consoleOut().flush())
    return status;
  base::report("tarnctl: standard output cannot be written");
  return failed;
}

} // namespace tarn::tools
