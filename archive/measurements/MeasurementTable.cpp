// Rows of measurements.
#include "archive/measurements/MeasurementTable.h"

#include "annotations/measure.h"
#include "archive/journal/csvRow.h"
#include "archive/measurements/labelNumber.h"
#include "base/Console.h"

#include <array>
#include <charconv>
#include <cmath>
#include <vector>

namespace tarn::archive
{
namespace
{

using impsconverter::Form;
using impsconverter::Measures;

constexpr char kHeader[] = "study,series,image,frame,kind,label,points,spacing,row_spacing_mm,column_spacing_mm,"
                           "length_mm,area_mm2,angle_deg,major_axis_mm,minor_axis_mm,length_px,area_px2,"
                           "label_number,label_unit,difference,state,output,duplicate,input\r\n";
constexpr int kDigits = 9;         ///< significant ones of a number
constexpr double kTolerance = 2.0; ///< per cent
constexpr std::array kUnits{"mm", "mm2", "deg"};

template <class Number, class... Format>
std::string digitsOf(Number value, Format... format)
{
  std::array<char, 32> digits{};
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), value, format...);
  return {digits.data(), result.ptr};
}

std::string cell(const std::string& text)
{
  return csvCell(text);
}

/// Empty where there is none; "inf" for what is beyond all numbers.
std::string cell(double number)
{
  return std::isnan(number) ? "" : digitsOf(number, std::chars_format::general, kDigits);
}

/// An array of JSON, which no spreadsheet takes for a number or a formula. As short as single precision needs.
std::string cell(const std::vector<impsconverter::Point>& points)
{
  const auto coordinate = [](float value) { return std::isfinite(value) ? digitsOf(value) : "null"; };
  std::string text = "\"[";
  for (const impsconverter::Point& point : points)
    text += (text.size() > 2 ? ",[" : "[") + coordinate(point.column) + "," + coordinate(point.row) + "]";
  return text + "]\"";
}

/// What a viewer writes beside a shape of this form.
std::vector<Quantity> quantitiesOf(Form form)
{
  switch (form)
  {
  case Form::segment:
    return {Quantity::length};
  case Form::rays:
  case Form::lines:
    return {Quantity::angle};
  case Form::ellipse:
    return {Quantity::area};
  case Form::outline:
    return {Quantity::area, Quantity::length};
  default:
    return {};
  }
}

double measured(const Measures& measures, Quantity quantity)
{
  return quantity == Quantity::length ? measures.length : quantity == Quantity::area ? measures.area : measures.angle;
}

/// How much more was measured than the label says, per cent of what it says; NaN where nothing was.
double differenceOf(double value, const LabelNumber& label)
{
  return value == label.value ? 0.0 : (value - label.value) / std::abs(label.value) * 100;
}

/// In millimetres; without a distance between pixels only what needs none.
Measures measuresOf(const impsconverter::Shape& shape, const Spacing& spacing)
{
  Measures measures = impsconverter::measure(shape, {spacing.row, spacing.column});
  if (!spacing.isLength)
    measures.length = measures.area = measures.majorAxis = measures.minorAxis = Measures::kNone;
  return measures;
}

template <class Value>
std::string joinedCells(std::initializer_list<Value> values)
{
  std::string cells;
  for (const auto& value : values)
    cells += cell(value) + ',';
  return cells;
}

} // namespace

MeasurementTable::MeasurementTable()
{
  consoleOut() << kHeader;
}

void MeasurementTable::write(const Measurement& row)
{
  const impsconverter::Shape shape = row.shape.value_or(impsconverter::Shape());
  const Measures pixels = impsconverter::measure(shape, {1.0, 1.0});
  const Measures measures = measuresOf(shape, row.spacing);
  const std::optional<LabelNumber> label = numberIn(shape.label, quantitiesOf(shape.form));
  const double value = label ? measured(measures, label->quantity) : Measures::kNone;
  const double difference = label ? differenceOf(value, *label) : Measures::kNone;
  ++rowCount;
  comparedCount += std::isnan(difference) ? 0 : 1;
  const bool isDifferent = std::abs(difference) > kTolerance;
  differentCount += isDifferent ? 1 : 0;
  roundedCount += isDifferent && std::abs(value - label->value) <= label->step ? 1 : 0;
  const double known = row.spacing.isLength ? 1.0 : Measures::kNone;
  consoleOut() << joinedCells({row.study, row.series, row.image, row.frame, row.kind, row.label})
               << (row.shape ? cell(shape.points) : "") << ',' << row.spacing.source << ','
               << joinedCells({row.spacing.row * known, row.spacing.column * known, measures.length, measures.area,
                               measures.angle, measures.majorAxis, measures.minorAxis, pixels.length, pixels.area,
                               label ? label->value : Measures::kNone})
               << (label ? kUnits.at(static_cast<std::size_t>(label->quantity)) : "") << ',' << cell(difference) << ','
               << cell(row.state) << ',' << cell(row.output) << ',' << (row.isDuplicate ? "true," : ",")
               << cell(row.input) << "\r\n";
}

} // namespace tarn::archive
