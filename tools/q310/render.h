// Text for a terminal from a command's JSON result: sections, aligned "label: value" lines, a text the
// library produced (schedule, holidays, journal, profile) shown as it is.
#pragma once

#include "commands.h"

#include <string>

namespace q310cli
{

std::string RenderText(const Json& aResult);

} // namespace q310cli
