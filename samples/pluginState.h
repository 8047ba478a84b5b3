#pragma once

#include <string>
#include <vector>

namespace samples
{

/// The lines of one figure as the viewer means them, not yet encoded; an ID line comes first.
using Figure = std::vector<std::string>;

/// The plug-in state: `label`, then each figure after a backslash, its lines separated by line feeds and the whole
/// URL-encoded (a blank as '+', every other byte that is not plain as '%' and two digits).
std::string pluginStateText(const std::string& label, const std::vector<Figure>& figures);

} // namespace samples
