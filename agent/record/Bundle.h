#pragma once

#include "agent/Options.h"

// A bundle: what a bug report needs of a recording, in one file. JSON Lines, compressed
// with zstd:
//
//   {"bundle":1,"agent":"1.0.0","library":"1.0.0","compiler":"…","system":{…},"time":"…Z"}
//   {"statistics":{…}}
//   {"trace":[{"sequence":0,"level":7,"text":"…"},…]}
//
// and then the lines of the recording (agent/record/Recording.h), as they are. The
// statistics and the ring trace are of the recording when it is played again.
namespace Agent {

// The version of the form.
inline constexpr int kBundleVersion = 1;

// The bundle command: plays a recording again and writes a bundle of it. Returns the
// exit status.
int bundle(Options const& options);

} // namespace Agent
