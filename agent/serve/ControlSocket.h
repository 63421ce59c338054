#pragma once

#include "agent/Descriptor.h"
#include "agent/serve/EventLoop.h"

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Agent {

// A Unix socket on which local clients ask: a line each question, and a line each
// answer. Only the user whose agent it is can connect (mode 0600). Nothing that a
// client does delays the loop or makes this grow: each is served a little in each turn,
// what it may send and leave lying is bounded, and one that keeps to neither is cut
// off. Event thread only.
class ControlSocket {
 public:
   class Client;
   // What is still to be answered. Gone when its client is.
   using Asker = std::weak_ptr<Client>;
   // A client asks; the line is readable during the call. Who is told answers it, then
   // or later, or follows it; the next line of that client waits until then.
   using Asked = std::function<void(Asker const& asker, std::string_view line)>;
   // The next line for a client that follows, without its end; none for the time being.
   using More = std::function<std::optional<std::string>()>;

   // How much a client may send as one line, how many there may be, and how long one
   // that has begun a line, or has not taken what it was sent, is waited for.
   static constexpr size_t kMostLine = size_t{64} << 10;
   static constexpr size_t kMostClients = 16;
   static constexpr std::chrono::seconds kPatience{10};

   // Listens. A socket file that nobody listens on is replaced. InputError if there is
   // somebody, if the path is something else, or if it cannot be made.
   ControlSocket(EventLoop& loop, std::string path, Asked asked);
   ControlSocket(ControlSocket const&) = delete;
   ControlSocket& operator=(ControlSocket const&) = delete;
   // Cuts everybody off, and removes the file.
   ~ControlSocket();

   // Sends a line to the one that asked, if it is still there.
   void answer(Asker const& asker, std::string_view line);
   // The same, and from here on whatever comes next, whenever turnEnd() is called and
   // there is room; until the client hangs up.
   void follow(Asker const& asker, std::string_view line, More more);
   // To be called at the end of each turn of the loop. Returns whether there is more to
   // send at once.
   bool turnEnd();

   size_t clients() const noexcept { return clients_.size(); }

 private:
   void listen();
   void acceptOne();
   void makeRoom();
   void look();
   void drop(Client const& client);

   EventLoop& loop_;
   std::string const path_;
   Asked const asked_;
   Descriptor listening_;
   std::pair<dev_t, ino_t> const file_; // that it listens at
   std::vector<std::shared_ptr<Client>> clients_;
   EventLoop::Timer clock_; // while there are clients
   EventLoop::Timer again_; // to accept, after there was no descriptor for it
   std::unique_ptr<EventLoop::Follower> follower_;
};

} // namespace Agent
