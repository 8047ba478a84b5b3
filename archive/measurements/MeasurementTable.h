#pragma once

#include "annotations/Annotation.h"
#include "images/PixelSpacing.h"

#include <cstdint>
#include <optional>
#include <string>

namespace tarn::archive
{

/// Where the distance between pixels is known from, in the words of the table.
struct Spacing
{
  const char* source = "";
  double row = 1.0; ///< mm, unless `isLength` is false
  double column = 1.0;
  bool isLength = false; ///< else only the ratio counts
};

/// An annotation, and what is known of it. Texts are UTF-8.
struct Measurement
{
  std::string study;
  std::string series;
  std::string image; ///< SOP Instance UID
  std::string frame;
  std::string kind;
  std::string label;
  std::optional<impsconverter::Shape> shape; ///< its label in the bytes that the viewer wrote
  Spacing spacing;
  std::string state;  ///< SOP Instance UID of the input
  std::string output; ///< below the output folder; empty where it stands in none
  bool isDuplicate = false;
  std::string input;
};

/// Writes annotations with their measures to consoleOut(), RFC 4180 (docs/formats.md, "Measurements").
class MeasurementTable
{
public:
  /// Writes the names of the columns.
  MeasurementTable();

  void write(const Measurement& row);

  std::uint64_t rows() const { return rowCount; }
  std::uint64_t compared() const { return comparedCount; }   ///< the label has a number too
  std::uint64_t different() const { return differentCount; } ///< by more than 2 % of the label's
  std::uint64_t rounded() const { return roundedCount; }     ///< of these, by no more than its last digit

private:
  std::uint64_t rowCount = 0;
  std::uint64_t comparedCount = 0;
  std::uint64_t differentCount = 0;
  std::uint64_t roundedCount = 0;
};

} // namespace tarn::archive
