// Which first word of a line names which kind of annotation.
#include "annotations/kinds.h"

#include "annotations/angle.h"
#include "annotations/cobbangle.h"
#include "annotations/freehand.h"
#include "annotations/oval.h"
#include "annotations/pointer.h"
#include "annotations/ruler.h"
#include "annotations/spinelabel.h"
#include "annotations/text.h"
#include "base/text.h"

#include <algorithm>
#include <iterator>

namespace impsconverter
{
namespace
{

template <class Made>
std::unique_ptr<Annotation> make(ValidPresentationState* ps)
{
  return std::make_unique<Made>(ps);
}

constexpr Kind kKinds[] = {
    {"ruler_x ", &make<Ruler>},
    {"freepointer_x ", &make<Pointer>},
    {"angle_x ", &make<Angle>},
    {"cobangle_x ", &make<CobbAngle>},
    {"free_x ", &make<FreeHand>},
    {"skewoval_x ", &make<SkewOval>},
    {"skewhouns_x ", &make<SkewHounsField>},
    {"oval_x ", &make<Oval>},
    {"houns_x ", &make<HounsField>},
    {"text_x ", &make<Text>},
    {"spinelabel_x ", &make<SpineLabel>},
};

} // namespace

const Kind* kindOf(const std::string& line)
{
  const auto* const kind =
      std::find_if(std::begin(kKinds), std::end(kKinds),
                   [&line](const Kind& candidate) { return tarn::base::startsWith(line, candidate.prefix); });
  return kind == std::end(kKinds) ? nullptr : kind;
}

} // namespace impsconverter
