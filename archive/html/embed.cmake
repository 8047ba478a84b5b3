# cmake -D FOLDER=DIR -D OUTPUT=FILE -P embed.cmake: writes the files of the page in DIR as a C++ source.
cmake_minimum_required(VERSION 3.25)

set(files "")
foreach(name index.html report.css elements.js report.js)
  file(READ "${FOLDER}/${name}" content)
  string(APPEND files "    {\"${name}\", R\"page(${content})page\"},\n")
endforeach()
file(WRITE "${OUTPUT}" "// Made of the files in page/.
#include \"archive/html/pageFiles.h\"

namespace tarn::archive
{

const std::vector<PageFile>& pageFiles()
{
  static const std::vector<PageFile> files = {
${files}  };
  return files;
}

} // namespace tarn::archive
")
