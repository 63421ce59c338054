#pragma once

namespace Agent {

// The project's version; MCASTVPN_VERSION comes from the build.
inline constexpr char const* kVersion = MCASTVPN_VERSION;

} // namespace Agent
