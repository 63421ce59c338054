#pragma once

// Marks what libMcastVpnRuntime.so offers; everything else in it is hidden. ELF
// needs the same attribute on either side of the boundary, so that type
// information and inline variables are one object in the whole process.
#define PELK_EXPORT __attribute__((visibility("default")))
