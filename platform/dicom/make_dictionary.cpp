// Writes the toolkit's text dictionary as rows of a C++ table: make_dictionary FILE
#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dcdict.h>
#include <dcmtk/dcmdata/dcdicent.h>

#include <fstream>
#include <iostream>
#include <string>

namespace
{

std::string literal(const char* text)
{
  if (!text)
    return "nullptr";
  std::string quoted = "\"";
  for (; *text; ++text)
  {
    if (*text == '"' || *text == '\\')
      quoted += '\\';
    quoted += *text;
  }
  return quoted + '"';
}

void writeRow(std::ostream& out, const DcmDictEntry& entry)
{
  out << '{' << entry.getGroup() << ',' << entry.getElement() << ',' << entry.getUpperGroup() << ','
      << entry.getUpperElement() << ',' << entry.getGroupRangeRestriction() << ',' << entry.getElementRangeRestriction()
      << ',' << static_cast<int>(entry.getEVR()) << ',' << entry.getVMMin() << ',' << entry.getVMMax() << ','
      << literal(entry.getTagName()) << ',' << literal(entry.getStandardVersion()) << ','
      << literal(entry.getPrivateCreator()) << "},\n";
}

} // namespace

int main(int argc, char** argv)
{
  if (argc != 2 || !dcmDataDict.isDictionaryLoaded())
  {
    std::cerr << "make_dictionary: usage: make_dictionary FILE; the toolkit's dictionary must be installed\n";
    return 1;
  }
  std::ofstream out(argv[1]);
  DcmDataDictionary& dictionary = dcmDataDict.wrlock();
  for (auto entry = dictionary.normalBegin(); entry != dictionary.normalEnd(); ++entry)
    writeRow(out, **entry);
  for (auto entry = dictionary.repeatingBegin(); entry != dictionary.repeatingEnd(); ++entry)
    writeRow(out, **entry);
  dcmDataDict.wrunlock();
  return out.flush() ? 0 : 1;
}
