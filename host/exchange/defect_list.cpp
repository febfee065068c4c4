// SPDX-License-Identifier: MIT
// The kinds of all defects.
#include "host/exchange/defect_list.h"

#include <set>

namespace narvo
{

std::vector<std::string> KindsOf(const std::vector<DefectList>& images)
{
    std::set<std::string> kinds;
    for (const DefectList& image : images)
        for (const ListedDefect& defect : image.defects)
            kinds.insert(defect.kind);
    return {kinds.begin(), kinds.end()};
}

} // namespace narvo
