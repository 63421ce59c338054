#pragma once

#include "lidra/AddressFamily.h"
#include "mlag/Status.h"

#include <fmt/ostream.h>

// Values that print themselves, for fmt.
template <>
struct fmt::formatter<Mlag::MlagState> : fmt::ostream_formatter {};
template <>
struct fmt::formatter<Lidra::AddressFamily> : fmt::ostream_formatter {};
