// SPDX-License-Identifier: MIT
#pragma once

#include "drawing.h"
#include "output.h"
#include "summary.h"

namespace replay {

// The run as one HTML file that needs nothing from elsewhere: the picture, which keys and buttons
// zoom, and the same in tables.
void write_page(Output& output, const Subject& subject, const Picture& picture,
                const Summary& summary);

} // namespace replay
