// The annotations of a plug-in state, for those who look at them and convert nothing.
#include "converter/readAnnotations.h"

#include "annotations/kinds.h"
#include "base/text.h"
#include "base/urlDecode.h"
#include "converter/Account.h"

#include <vector>

namespace impsconverter
{
namespace
{

/// The images of one figure. A `pixel` line also holds for the annotations before it.
std::vector<AnnotatedImage> imagesOf(const std::string& figure, int& number)
{
  std::vector<AnnotatedImage> images(1); // that of lines before the first ID line
  const char* cursor = figure.c_str();
  for (std::string line; nextLine(cursor, line);)
    if (tarn::base::startsWith(line, kIdPrefix))
    {
      images.emplace_back().number = ++number;
      static_cast<void>(readIdLine(line, images.back().name));
    }
    else if (tarn::base::startsWith(line, kPixelPrefix))
      static_cast<void>(readPixelLine(line, false, images.back().rowSpacing, images.back().columnSpacing));
  return images;
}

AnnotationLine readLine(const std::string& line, std::string_view name)
{
  AnnotationLine read{std::string(name), std::nullopt};
  if (const Kind* const kind = kindOf(line))
    if (const std::unique_ptr<Annotation> annotation = kind->make(nullptr); annotation->parse(line))
      read.shape = annotation->shape();
  return read;
}

} // namespace

void readAnnotations(const std::string& text,
                     const std::function<void(const AnnotatedImage& image, const AnnotationLine& line)>& visit)
{
  int number = 0;
  Figures figures(text.c_str());
  for (std::string figure; figures.next(figure);)
  {
    im::URLDecode(figure);
    const std::vector<AnnotatedImage> images = imagesOf(figure, number);
    auto image = images.begin();
    const char* cursor = figure.c_str();
    for (std::string line; nextLine(cursor, line);)
      if (tarn::base::startsWith(line, kIdPrefix))
        ++image;
      else if (const std::string_view kind = annotationKind(line); !kind.empty())
        visit(*image, readLine(line, kind));
  }
}

} // namespace impsconverter
