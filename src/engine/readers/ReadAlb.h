// The Alb route's entry: element table, title and cell of the control file, then the rest of it.
#pragma once

#include <string>

class MEMData3D;

// Reads the Alb control file at `path` and sets up the route that estimates
// unobserved reflections; the data file it names is read later by ReadFobs.
// False when the file cannot be opened or its cell line lacks a number.
bool ReadAlb(MEMData3D& mem, const std::string& path);
