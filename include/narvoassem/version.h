// Version of the library: the one place that holds it. The build reads the three numbers from here.
#pragma once

/// Changes that break source compatibility raise the major number, changes of a record's layout or of the
/// set of exported symbols the minor number, everything else the patch number. The shared library's SONAME
/// carries major and minor, because every record's members are public and a new field breaks binaries.
#define NARVOASSEM_VERSION_MAJOR 0
#define NARVOASSEM_VERSION_MINOR 1
#define NARVOASSEM_VERSION_PATCH 0
