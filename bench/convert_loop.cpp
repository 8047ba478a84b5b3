// The plainest loop over an archive, which bench/archive.py measures others against: convert_loop OUT <NAMES. Each file
// whose name stands on a line of standard input is converted into the folder OUT, as annomend does it.
#include "base/Console.h"
#include "converter/PSConverter.h"
#include "db/DBConnectorSql.h"
#include "dicom/dictionary.h"

#include <iostream>
#include <sstream>
#include <string>

int main(int argc, char** argv)
{
  std::string error;
  if (argc != 2 || !tarn::dicom::setUpDictionary(error))
    return 2;
  tarn::db::DBConnectorSql db(tarn::db::Missing::refuse);
  const std::string prefix = std::string(argv[1]) + "/";
  for (std::string name; std::getline(std::cin, name);)
  {
    std::ostringstream messages;
    const tarn::ConsoleScope kept(messages, messages);
    static_cast<void>(impsconverter::PSConverter(db, name, prefix, 0, false).convert(true));
  }
  return 0;
}
