#pragma once

#include "annotations/Annotation.h"
#include "converter/stateLines.h"

#include <functional>
#include <optional>
#include <string>

namespace impsconverter
{

/// What the lines from an ID line to the next one, or the end of their figure, are about.
struct AnnotatedImage
{
  int number = 0; ///< of the ID line over all figures, from 1, and so of its output (OutputNames::uidOf)
  ImageName name;
  double rowSpacing = 0.0; ///< millimetres, by the last of its `pixel` lines; 0 where none says
  double columnSpacing = 0.0;
};

/// An annotation line, whatever a conversion makes of it.
struct AnnotationLine
{
  std::string kind;           ///< as the account counts it
  std::optional<Shape> shape; ///< nothing where the kind is not known, or the line cannot be read
};

/// Calls `visit` with each annotation line of a plug-in state, in their order, without a database and also after a line
/// that ends a conversion. What cannot be read is reported on the console.
void readAnnotations(const std::string& text,
                     const std::function<void(const AnnotatedImage& image, const AnnotationLine& line)>& visit);

} // namespace impsconverter
