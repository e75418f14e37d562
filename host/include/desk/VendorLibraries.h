// Where this desk keeps what a device has under /vendor/lib64/.

#pragma once

#include <string>

namespace desk {

// Maps /vendor/lib64/ to a folder for every later dlopen() of this process; empty: there are no vendor libraries. The
// executable must link this library itself, ahead of the C library, for its dlopen() to be the one that is called.
void setVendorLibraryDir(std::string dir);

}  // namespace desk
