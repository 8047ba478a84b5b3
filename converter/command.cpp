// The options of the command, and its one conversion.
#include "converter/command.h"

#include "base/Console.h"
#include "base/PrintableStream.h"
#include "base/report.h"
#include "db/DBConnectorSql.h"
#include "dicom/dictionary.h"
#include "converter/PSConverter.h"

#include <getopt.h>

#include <string>

namespace impsconverter
{
namespace
{

constexpr int kFailure = 1;

constexpr char kUsage[] = R"(
Usage:

  annomend [-h] [-N] -f <inputFile> [-o <output prefix>]

     -h                  :    prints this help
     -N                  :    do not touch the object cache
                              to be used when the caller is certain that the object table is loaded for the study
     -f <inputFile>      :    presentation state file to convert
     -o <output prefix>  :    prefix for output files (will be empty if missing)
     -i                  :    also save a copy of the original (input) presentation state file
     -x                  :    fix (make DICOM compliant) the copy of the original presentation state file (only with -i)
     -d                  :    print debug messages


Converts annotations stored in QX private tags in a Presentation State file to DICOM compliant format
)";

void usage()
{
  tarn::consoleError() << kUsage << std::flush;
}

struct Options
{
  bool touchObjectCache = true;
  bool debug = false;
  unsigned long flags = 0;
  std::string inputFile;
  std::string outputPrefix;
};

/// False when the run ends here, after what it has to say.
bool readOptions(int argc, char** argv, Options& options)
{
  optind = 0; // a new scan, also in a process that scanned before
  for (int option = 0; (option = getopt(argc, argv, ":hNdixf:o:")) != -1;)
    switch (option)
    {
    case 'h':
      usage();
      return false;
    case 'N':
      options.touchObjectCache = false;
      break;
    case 'd':
      options.debug = true;
      break;
    case 'i':
      options.flags |= PSC_includeOriginal;
      break;
    case 'x':
      options.flags |= PSC_fixOriginal;
      break;
    case 'f':
      options.inputFile = optarg;
      break;
    case 'o':
      options.outputPrefix = optarg;
      break;
    default:
      tarn::base::report("Unrecognized option: '-", static_cast<char>(optopt), "'");
      usage();
      return false;
    }
  if (options.inputFile.empty())
    tarn::base::report("Missing argument: Presentation State file");
  return !options.inputFile.empty();
}

} // namespace

int runCommand(int argc, char** argv)
{
  Options options;
  if (!readOptions(argc, argv, options))
    return kFailure;
  std::string error;
  if (!tarn::dicom::setUpDictionary(error))
  {
    tarn::base::report(error);
    return kFailure;
  }
  if (options.debug)
    tarn::dicom::completeDictionary();                   // a dump names every attribute
  tarn::base::PrintableStream shown(tarn::consoleOut()); // a dump shows what stands in the file
  const tarn::ConsoleScope scope(shown, tarn::consoleError());
  tarn::db::DBConnectorSql db(tarn::db::Missing::refuse);
  PSConverter converter(db, options.inputFile, options.outputPrefix, options.flags, options.debug);
  const bool converted = converter.convert(options.touchObjectCache);
  if (options.debug && !tarn::consoleOut().flush())
    tarn::base::report("Standard output cannot be written");
  if (converted)
    return 0;
  tarn::base::report(kReturnedError);
  return kFailure;
}

} // namespace impsconverter
