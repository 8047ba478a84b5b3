// A program outside the tree that converts a presentation state in memory: consumer FILE
#include <Account.h>
#include <annomend.h>
#include <Console.h>
#include <conform.h>

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <iostream>
#include <list>
#include <sstream>

int main(int argc, char** argv)
{
  DcmFileFormat file;
  if (argc != 2 || file.loadFile(argv[1]).bad() || !impsconverter::needPSConversion(file, nullptr))
    return 2;
  std::ostringstream out;
  std::ostringstream messages;
  const tarn::ConsoleScope kept(out, messages);
  const auto db = tarn::db::DBConnector::createConnector();
  std::list<DcmFileFormat*> results;
  impsconverter::Account account;
  const bool good = impsconverter::convertPSObject(*db, &file, results, false, account);
  for (const auto& [kind, lines] : account.annotations())
    std::cout << kind << ": " << lines.written << " of " << lines.read << ", ";
  const auto mended = tarn::conformance::makeConformant(*results.front()->getDataset(), nullptr);
  std::cout << mended.remedies.at("frame-number-removed") << " frame number removed, " << results.size()
            << " objects, messages: " << messages.str();
  return good ? 0 : 1; // the results go with the process
}
