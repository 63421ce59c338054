#pragma once

// Marks what libMcastVpnLib.so offers; everything else in it is hidden.
#define MCASTVPNLIB_EXPORT __attribute__((visibility("default")))
