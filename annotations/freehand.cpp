// A closed outline of any number of vertices.
#include "annotations/freehand.h"

#include "base/report.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace impsconverter
{
namespace
{

/// Number of Graphic Points (0070,0021) has 16 bits, and the outline is closed by one more point.
constexpr int kMostVertices = 65534;

/// Reads a decimal number at `cursor` and steps over it; where there is none it is 0 and the cursor stays. A number
/// that 32 bits do not hold is reported by the text that names it, and false.
bool readNumber(const char*& cursor, int& value, const char* what, const std::string& type)
{
  char* end = nullptr;
  errno = 0;
  const long number = std::strtol(cursor, &end, 10);
  cursor = end;
  const bool isHeld = errno != ERANGE && number >= INT_MIN && number <= INT_MAX;
  if (isHeld)
    value = static_cast<int>(number);
  else
    tarn::base::report("Parsing ", what, type, " annotation failed: ", std::strerror(ERANGE));
  return isHeld;
}

} // namespace

bool FreeHand::parseSpecific(const std::string& type, const std::string& params)
{
  const char* cursor = params.c_str();
  if (!parseVertices(type, cursor))
    return false;
  if (Parameters("labels", type, cursor, debug).label(label).count() != 1)
  {
    tarn::base::report("Parsing label from a ", type, " annotation failed");
    return false;
  }
  if (debug)
    traceArguments();
  return true;
}

bool FreeHand::parseVertices(const std::string& type, const char*& cursor)
{
  int count = 0;
  if (!readNumber(cursor, count, "number of vertices in a ", type))
    return false;
  if (count < 1 || count > kMostVertices)
  {
    tarn::base::report("Incorrect number of vertices in a ", type, " annotation failed: ", count);
    return false;
  }
  xs.assign(static_cast<std::size_t>(count), 0);
  ys.assign(static_cast<std::size_t>(count), 0);
  for (std::size_t vertex = 0; vertex < xs.size(); ++vertex)
  {
    const char* start = cursor;
    if (!readNumber(cursor, xs[vertex], "X coordinate from a ", type))
      return false;
    if (cursor == start)
      break; // no number here: none of the others would be found either, and all of them are 0
    if (!readNumber(cursor, ys[vertex], "Y coordinate from a ", type))
      return false;
  }
  return true;
}

void FreeHand::traceArguments() const
{
  tarn::base::trace("FreeHand arguments: ");
  tarn::base::trace(" Count of vertices: ", xs.size());
  for (std::size_t vertex = 0; vertex < xs.size(); ++vertex)
    tarn::base::trace(" Vertex[", vertex, "]: {", xs[vertex], ", ", ys[vertex], "}");
  tarn::base::trace(" Label: ", label);
}

std::vector<Point> FreeHand::vertices() const
{
  std::vector<Point> points;
  points.reserve(xs.size() + 1); // of a closed outline too
  for (std::size_t vertex = 0; vertex < xs.size(); ++vertex)
    points.push_back(pointAt(xs[vertex], ys[vertex]));
  return points;
}

bool FreeHand::createSimple()
{
  if (xs.empty())
    return true; // nothing was parsed
  std::vector<Point> points = vertices();
  points.push_back(points.front()); // PS3.3 C.10.5.1.2: closed by its first point
  return addPolyline(points);
}

} // namespace impsconverter
