// Writes the toolkit's text dictionary as the tables that AttributeTable.cpp includes: make_dictionary FILE
#include "dicom/attributeTable.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dcdict.h>
#include <dcmtk/dcmdata/dcdicent.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace
{

/// The texts of all entries, each once and followed by a NUL.
class Texts
{
public:
  /// Its place: 0 for null.
  std::size_t place(const char* text)
  {
    if (!text)
      return 0;
    const auto [known, isNew] = places.try_emplace(text, bytes.size());
    if (isNew)
      bytes.append(text).push_back('\0');
    return known->second;
  }

  /// As numbers: a literal may not have that many bytes.
  void write(std::ostream& out) const
  {
    out << "constexpr char kTexts[] = {";
    for (const char byte : bytes)
      out << static_cast<int>(byte) << ',';
    out << "};\n";
  }

private:
  std::map<std::string, std::size_t> places;
  std::string bytes = std::string(1, '\0'); ///< place 0 stands for null
};

void writeRow(std::ostream& out, Texts& texts, const DcmDictEntry& entry)
{
  out << '{' << entry.getGroup() << ',' << entry.getElement() << ',' << entry.getUpperGroup() << ','
      << entry.getUpperElement() << ',' << entry.getGroupRangeRestriction() << ',' << entry.getElementRangeRestriction()
      << ',' << static_cast<int>(entry.getEVR()) << ',' << entry.getVMMin() << ',' << entry.getVMMax() << ','
      << texts.place(entry.getTagName()) << ',' << texts.place(entry.getStandardVersion()) << ','
      << texts.place(entry.getPrivateCreator()) << "},\n";
}

bool writeTables(std::ostream& out, DcmDataDictionary& dictionary)
{
  Texts texts;
  out << "constexpr Attribute kRepeatingAttributes[] = {\n";
  for (auto entry = dictionary.repeatingBegin(); entry != dictionary.repeatingEnd(); ++entry)
    writeRow(out, texts, **entry);
  std::vector<const DcmDictEntry*> single;
  for (auto entry = dictionary.normalBegin(); entry != dictionary.normalEnd(); ++entry)
    single.push_back(*entry);
  const auto place = [](const DcmDictEntry* entry)
  {
    return std::tuple(entry->getGroup(), entry->getElement(),
                      std::string(entry->getPrivateCreator() ? entry->getPrivateCreator() : ""));
  };
  std::sort(single.begin(), single.end(), [&](const auto* a, const auto* b) { return place(a) < place(b); });
  out << "};\nconstexpr Attribute kAttributes[] = {\n";
  for (const DcmDictEntry* entry : single)
    writeRow(out, texts, *entry);
  out << "};\n";
  texts.write(out);
  return static_cast<bool>(out.flush());
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
  const bool good = writeTables(out, dcmDataDict.wrlock());
  dcmDataDict.wrunlock();
  return good ? 0 : 1;
}
