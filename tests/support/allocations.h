// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

// Of the whole program, by new: how often, and how many bytes of it have not been given back. Both
// stay 0 under a tool that puts its own new in the place of ours.
std::size_t allocations();
std::size_t live_bytes();
