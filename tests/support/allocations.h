// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

// How often the whole program has called new, and the bytes that it has not given back. Both stay 0
// under a tool that puts its own new in the place of ours.
std::size_t allocations();
std::size_t live_bytes();
