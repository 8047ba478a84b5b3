// The command line of annomend-archive.
#include "archive/command.h"

#include "archive/checkJournals.h"
#include "archive/checkStates.h"
#include "archive/convertArchive.h"
#include "archive/drawStates.h"
#include "archive/findStates.h"
#include "archive/inputs/walkPaths.h"
#include "archive/journal/JournalReader.h"
#include "archive/report.h"
#include "archive/reportMeasurements.h"
#include "archive/run/exitStatus.h"
#include "base/Console.h"
#include "base/report.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <functional>
#include <thread>

namespace tarn::archive
{
namespace
{

constexpr std::uint64_t kMostMemory = std::uint64_t{1} << 50U; ///< bytes a worker

constexpr char kEnvironment[] = R"(
The environment names the database (TARN_DB_URL), the repositories and the log, as for annomend(1).
Exit status of convert: 0 all converted, or nothing to convert; 3 some in part; 1 some refused, failed, crashed or timed
out; 2 the command line; 75 stopped by the database or the disk, run it again; 130, 143 stopped by a signal.
See annomend-archive(1).)";

/// A number from 1 on that all of `text` is; 0 where it is none.
unsigned positiveNumber(std::string_view text)
{
  unsigned number = 0;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
  return failure == std::errc() && end == text.data() + text.size() ? number : 0;
}

ConvertRequest onAllCores()
{
  ConvertRequest request;
  request.workers = std::max(1U, std::thread::hardware_concurrency());
  return request;
}

class CommandLine
{
public:
  CommandLine()
  {
    app.set_version_flag("--version", "annomend-archive " ANNOMEND_VERSION);
    app.require_subcommand(0, 1); // a command that does not exist is named in the message then
    app.footer(kEnvironment);
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    addFind(add("find", "Walks PATH... and lists the presentation states that are there.",
                [this] { return findStates(request.source.paths, file); }));
    addConvert(add("convert", "Converts presentation states, and writes down what became of each.",
                   [this] { return convert(); }));
    addCheck(add("check", "Holds the rules of conformance against presentation states, or journals against OUT.",
                 [this] { return check(); }));
    addPicture(
        add("picture", "Draws presentation states of any maker over their images.", [this] { return drawPictures(); }));
    addReport(add("report", "Adds up what the journals of OUT say.", [this] { return makeReport(); }));
  }

  /// Runs the command and returns the exit status.
  int run(int argc, char** argv)
  {
    try
    {
      app.parse(argc, argv);
      if (!command)
        throw CLI::RequiredError("A command");
      return command();
    }
    catch (const CLI::Success& asked) // for the help, or the version
    {
      app.exit(asked, consoleOut());
      return exitStatus::kDone;
    }
    catch (const CLI::ParseError& error)
    {
      base::report("annomend-archive: ", error.what(), " (see annomend-archive --help)");
      return exitStatus::kUsage;
    }
    catch (const std::exception& failure) // a journal, a list or an inventory that cannot be read or written
    {
      base::report("annomend-archive: ", failure.what());
      return exitStatus::kUsage;
    }
  }

private:
  CLI::App& add(const char* name, const char* description, const std::function<int()>& run)
  {
    CLI::App* const parser = app.add_subcommand(name, description);
    parser->callback([this, run] { command = run; });
    return *parser;
  }

  void addFind(CLI::App& parser)
  {
    parser.add_option("PATH", request.source.paths, "Files, and folders that are walked")->type_name("")->required();
    parser.add_option("-o", file, "The inventory goes there (standard output when missing)")->type_name("FILE");
  }

  void addConvert(CLI::App& parser)
  {
    addInputs(parser);
    addRun(parser);
    parser.add_option("-o", request.out, "The output folder")->type_name("OUT");
    parser.add_flag_callback(
        "-N", [this] { request.options.touchObjectCache = false; }, "Do not touch the object cache");
    parser.add_option("--form", request.form, "What is written: plain or conformant")
        ->type_name("FORM")
        ->check(CLI::IsMember({"plain", "conformant"}));
    parser
        .add_option("--images", request.options.imagesFolder,
                    "Where images are looked for besides the data repository, for their size")
        ->type_name("DIR");
    parser.add_flag("--dry-run", request.dryRun, "Write no file; records go to standard output");
    CLI::Option* retry = parser.add_flag_callback(
        "--retry", [this] { request.again = Again::failed; }, "Again what was not converted");
    parser
        .add_flag_callback(
            "--redo", [this] { request.again = Again::all; }, "Again all")
        ->excludes(retry);
  }

  void addInputs(CLI::App& parser)
  {
    SourceOptions& source = request.source;
    parser.add_option("PATH", source.paths, "Files, and folders that are walked")->type_name("");
    CLI::Option* names = parser.add_option("--files-from", source.filesFrom, "Names, one a line; - is standard input");
    names->type_name("FILE");
    parser.add_flag("--null", source.nulTerminated, "These names end with a NUL")->needs(names);
    parser.add_option("--inventory", source.inventory, "What find wrote")->type_name("FILE");
    parser.add_flag("--all-studies", source.studies.all, "The presentation states that the object table knows");
    parser.add_option("--studies-from", source.studies.listFile, "Those of these studies, a UID a line")
        ->type_name("FILE");
    parser
        .add_option_function<std::string>(
            "--shard", [this](const std::string& text) { takeShard(text); },
            "Only the inputs whose study falls to share I of N")
        ->type_name("I/N");
  }

  void addRun(CLI::App& parser)
  {
    parser.add_option("-j", request.workers, "Worker processes (one a core when missing)")
        ->type_name("N")
        ->check(CLI::Range(1U, 1024U));
    parser.add_option("--timeout", request.timeout, "An input that takes longer is given up")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, 1000000))
        ->capture_default_str();
    parser
        .add_option("--memory", request.memory, "What a worker may take, as 512M or 4G (4G when missing); 0: no bound")
        ->type_name("SIZE")
        ->transform(CLI::AsSizeValue(false))
        ->check(CLI::Range(std::uint64_t{0}, kMostMemory)); // which a negative number is beyond
    parser
        .add_option_function<std::string>(
            "--progress", [this](const std::string& text) { takeProgress(text); }, "auto when missing")
        ->type_name("FORM")
        ->check(CLI::IsMember({"auto", "bar", "lines", "none"}));
  }

  void addCheck(CLI::App& parser)
  {
    parser.add_option("PATH", request.source.paths, "Files, and folders that are walked")->type_name("");
    parser.add_option("--journal", request.out, "The output folder of conversions, held against its journals")
        ->type_name("OUT");
    parser.add_flag("--rules", wantsRules, "Print the table of the rules");
    parser
        .add_option("--images", request.options.imagesFolder,
                    "Where images are looked for besides the data repository, for what lies outside them")
        ->type_name("DIR");
    parser.add_flag("--notes-fail", notesFail, "Exit status 1 for notes too");
    addFormat(parser, findingForm, {{"text", FindingForm::text}, {"json", FindingForm::json}});
  }

  void addPicture(CLI::App& parser)
  {
    parser.add_option("STATE", pictures.paths, "A state, and perhaps its image; with --folder states and folders")
        ->type_name("")
        ->required();
    CLI::Option* picture = parser.add_option("-o", pictures.file, "The picture");
    picture->type_name("FILE.svg");
    parser.add_option("--folder", pictures.folder, "A picture for each state goes there")
        ->type_name("DIR")
        ->excludes(picture);
    parser.add_option("--size", pictures.size, "The longer side of a picture, 16 to 4096 (512 when missing)")
        ->type_name("PX")
        ->check(CLI::Range(16, 4096));
    parser.add_option("--reference", pictures.reference, "Which of the images that a state refers to (1 when missing)")
        ->type_name("N")
        ->check(CLI::PositiveNumber);
    parser.add_option("--images", pictures.images, "Where images are looked for besides the data repository")
        ->type_name("DIR");
  }

  void addReport(CLI::App& parser)
  {
    parser.add_option("OUT", request.out, "The output folder of conversions")->type_name("")->required();
    CLI::Option* format = addFormat(parser, reportForm,
                                    {{"text", ReportForm::text}, {"json", ReportForm::json}, {"csv", ReportForm::csv}});
    CLI::Option* html = parser.add_option("--html", page.folder, "A report to open in a browser goes there");
    html->type_name("DIR")->excludes(format);
    parser
        .add_option_function<std::string>(
            "--pictures", [this](const std::string& text) { takePictures(text); },
            "Of which inputs, or several with commas (failures when missing)")
        ->type_name("WHICH:{failures,sample:N,all,none}")
        ->needs(html);
    parser.add_option("--seed", page.seed, "Of the sample, to draw it again")->type_name("NUMBER")->needs(html);
    parser.add_flag("--measurements", wantsMeasurements, "A row of csv for each annotation, with what it measures")
        ->excludes(html);
    parser.add_option("--images", page.imagesFolder, "Where images are looked for besides the data repository")
        ->type_name("DIR");
    parser.add_flag("--anonymous", page.anonymous, "Leave out names, IDs, texts and labels")->needs(html);
  }

  void takePictures(const std::string& text)
  {
    const std::optional<PictureChoice> choice = pictureChoiceFrom(text);
    if (!choice)
      throw CLI::ValidationError("--pictures", "'" + text + "' is none of failures, sample:N, all and none");
    page.pictures = *choice;
  }

  /// The option `--format`, which takes one of the names.
  template <class Form>
  static CLI::Option* addFormat(CLI::App& parser, Form& form, const std::map<std::string, Form>& forms)
  {
    std::vector<std::string> names(forms.size());
    std::transform(forms.begin(), forms.end(), names.begin(), [](const auto& entry) { return entry.first; });
    return parser
        .add_option_function<std::string>(
            "--format", [&form, forms](const std::string& name) { form = forms.at(name); },
            "What is written (text when missing)")
        ->type_name("FORMAT")
        ->check(CLI::IsMember(names));
  }

  void takeShard(const std::string& text)
  {
    const std::size_t slash = std::min(text.find('/'), text.size());
    request.options.shard = positiveNumber(std::string_view(text).substr(0, slash));
    request.options.shards = positiveNumber(std::string_view(text).substr(std::min(slash + 1, text.size())));
    if (request.options.shard == 0 || request.options.shard > request.options.shards)
      throw CLI::ValidationError("--shard", "'" + text + "' is no share I/N with I from 1 to N");
  }

  void takeProgress(const std::string& text)
  {
    if (text != "auto")
      request.progress = text == "bar"     ? Progress::Form::bar
                         : text == "lines" ? Progress::Form::lines
                                           : Progress::Form::none;
  }

  int check() const
  {
    if (wantsRules)
      return listRules();
    if (request.source.paths.empty() && request.out.empty())
      throw CLI::RequiredError("PATH, --journal or --rules");
    const int journals =
        request.out.empty() ? exitStatus::kDone : checkJournals(absolutePath(request.out), findingForm);
    const int states = request.source.paths.empty()
                           ? exitStatus::kDone
                           : checkStates(request.source.paths, findingForm, notesFail, request.options.imagesFolder);
    return std::max(journals, states);
  }

  int makeReport()
  {
    const std::string out = absolutePath(request.out);
    if (wantsMeasurements && reportForm != ReportForm::csv)
      throw CLI::ValidationError("--measurements", "needs --format csv");
    if (!page.imagesFolder.empty() && !wantsMeasurements && page.folder.empty())
      throw CLI::ValidationError("--images", "needs --html or --measurements");
    if (wantsMeasurements)
      return reportMeasurements(out, page.imagesFolder);
    if (page.folder.empty())
      return report(out, reportForm);
    page.out = out;
    page.folder = absolutePath(page.folder);
    return reportAsPage(page);
  }

  int drawPictures() const
  {
    if (pictures.file.empty() == pictures.folder.empty())
      throw CLI::RequiredError("-o or --folder");
    if (pictures.folder.empty() && pictures.paths.size() > 2)
      throw CLI::ValidationError("picture", "-o takes STATE and IMAGE, and no more");
    return drawStates(pictures);
  }

  int convert()
  {
    SourceOptions& source = request.source;
    if (source.paths.empty() && !source.filesFrom && !source.inventory && !source.studies.all &&
        !source.studies.listFile)
      throw CLI::RequiredError("PATH, --files-from, --inventory, --all-studies or --studies-from");
    if (request.out.empty() && !request.dryRun)
      throw CLI::RequiredError("-o");
    if (!request.out.empty())
      source.leaveOut = request.out = absolutePath(request.out);
    request.options.conformant = request.form == "conformant";
    source.studies.shard = request.options.shard;
    source.studies.shards = request.options.shards;
    source.studies.touchObjectCache = request.options.touchObjectCache;
    return convertArchive(request);
  }

  CLI::App app{"Converts archives of annotated presentation states, and accounts for each.", "annomend-archive"};
  ConvertRequest request = onAllCores();
  std::optional<std::string> file;
  FindingForm findingForm = FindingForm::text;
  bool notesFail = false;
  bool wantsRules = false;
  bool wantsMeasurements = false;
  DrawRequest pictures;
  ReportForm reportForm = ReportForm::text;
  HtmlRequest page;
  std::function<int()> command; ///< the one that is chosen
};

} // namespace

int runArchive(int argc, char** argv)
{
  const int status = CommandLine().run(argc, argv);
  if (consoleOut().flush())
    return status;
  base::report("Standard output cannot be written");
  const bool endedWell = status == exitStatus::kDone || status == exitStatus::kPartly;
  return endedWell ? exitStatus::kFailed : status; // a run that was stopped is to be run again all the same
}

} // namespace tarn::archive
