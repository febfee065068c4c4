// SPDX-License-Identifier: MIT
/// @file
/// Version of the library: the one place that holds it. The build reads the three numbers from here.
#pragma once

/// A change that breaks hosts, in source or as a binary, raises the major number, and with it the library's SONAME:
/// every record's members are public, so a new field is such a change.
#define NARVOASSEM_VERSION_MAJOR 1
/// Raised by additions.
#define NARVOASSEM_VERSION_MINOR 0
/// Raised by everything else.
#define NARVOASSEM_VERSION_PATCH 0
