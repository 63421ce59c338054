#include "agent/serve/ControlSocket.h"

#include "agent/BadInput.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

namespace Agent {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int kBacklog = 16;
// For one that follows, in one turn, if it has taken those before.
constexpr size_t kLinesATurn = 64;
// Whoever takes an answer more slowly does so on purpose.
constexpr size_t kBytesASecond = size_t{1} << 20;

sockaddr_un addressOf(std::string const& path) {
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   if (path.size() >= sizeof address.sun_path) {
      throw InputError(location(path, 0) + "a path of " + std::to_string(path.size()) +
                       " bytes stands here; a socket's may have " +
                       std::to_string(sizeof address.sun_path - 1));
   }
   std::memcpy(address.sun_path, path.data(), path.size());
   return address;
}

[[noreturn]] void refuse(std::string const& path, std::string const& why) {
   throw InputError(location(path, 0) + why);
}

std::string message(int error) {
   return std::generic_category().message(error);
}

// Removes what an agent that was killed has left.
void removeIfLeft(std::string const& path, sockaddr_un const& address) {
   struct stat status{};
   if (lstat(path.c_str(), &status) != 0) {
      return;
   }
   if (!S_ISSOCK(status.st_mode)) {
      refuse(path, "something that is no socket stands here; allowed is a path that is "
                   "free");
   }
   auto const probe = Descriptor::made(
      socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0), "socket");
   if (connect(probe.number(), reinterpret_cast<sockaddr const*>(&address),
               sizeof address) == 0 ||
       errno == EAGAIN) {
      refuse(path, "another agent listens here; allowed is a path that is free");
   }
   if (errno != ECONNREFUSED) { // which alone says that nobody has it any more
      refuse(path, "a socket of something else stands here (" + message(errno) +
                      "); allowed is a path that is free");
   }
   unlink(path.c_str());
}

// Which file stands there; zeros for none.
std::pair<dev_t, ino_t> fileAt(std::string const& path) {
   struct stat status{};
   return lstat(path.c_str(), &status) == 0 ? std::pair(status.st_dev, status.st_ino)
                                            : std::pair(dev_t{0}, ino_t{0});
}

Descriptor listeningAt(std::string const& path) {
   auto const address = addressOf(path);
   removeIfLeft(path, address);
   auto listening = Descriptor::made(
      socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0), "socket");
   // The file has its mode from the moment it is there.
   auto const mask = umask(0177);
   int const bound = bind(listening.number(),
                          reinterpret_cast<sockaddr const*>(&address), sizeof address);
   int const error = errno;
   umask(mask);
   if (bound != 0) {
      refuse(path, "no socket can be made here: " + message(error));
   }
   if (::listen(listening.number(), kBacklog) != 0) {
      refuse(path, "nobody can listen here: " + message(errno));
   }
   return listening;
}

} // namespace

class ControlSocket::Client : public std::enable_shared_from_this<Client> {
 public:
   Client(ControlSocket& owner, Descriptor connection)
      : owner_(owner), connection_(std::move(connection)) {}

   void begin() {
      follower_ = std::make_unique<EventLoop::Follower>(
         owner_.loop_, connection_.number(), EventLoop::Interest::reading,
         [this, self = weak_from_this()] {
            if (auto const alive = self.lock()) {
               served();
            }
         });
   }

   void send(std::string_view line) {
      isAsking_ = false;
      add(line);
      write();
   }

   void follow(More more) { more_ = std::move(more); }

   // A part of what is to come. Whether there may be more at once.
   bool pull() {
      size_t lines = 0;
      bool const hasTaken = !isSending();
      while (more_ && !isGone_ && hasTaken && lines < kLinesATurn) {
         auto const line = more_();
         if (!line) {
            break;
         }
         add(*line);
         ++lines;
      }
      if (lines != 0) {
         write();
      }
      return lines == kLinesATurn;
   }

   // Asks the next of the lines it has sent, one a turn. Whether there is another one
   // that can be asked in the next.
   bool next() {
      if (canAsk()) {
         auto const begin =
            std::min(received_.find_first_not_of(" \t\r\n"), received_.size());
         auto const end = received_.find('\n', begin);
         bool const isWhole = end != std::string::npos;
         if ((isWhole ? end : received_.size()) - begin > kMostLine) {
            cutOff(R"({"error":"a line longer than 64 KiB; allowed is less"})");
         } else if (isWhole) {
            auto const line = received_.substr(begin, end - begin);
            received_.erase(0, end + 1);
            deadline_ = Clock::now() + kPatience; // of what stands behind it
            isAsking_ = true;
            owner_.asked_(weak_from_this(), line);
         } else {
            received_.erase(0, begin);
         }
      }
      listen();
      return canAsk() && hasLine();
   }

   bool isGone() const noexcept { return isGone_; }
   bool isQuiet() const noexcept {
      return !isAsking_ && !more_ && received_.empty() && !isSending();
   }
   Clock::time_point lastHeard() const noexcept { return lastHeard_; }
   // Whether it was waited for long enough, to take something or to end its line.
   bool isLate(Clock::time_point now) const noexcept {
      bool const isWaitedFor = isSending() || (!isAsking_ && !received_.empty());
      return isWaitedFor && now > deadline_;
   }

   // Says why, if that can be said at once and not in the middle of an answer.
   void cutOff(std::string_view why) {
      if (!isSending()) {
         auto const line = std::string(why) + '\n';
         static_cast<void>(::send(connection_.number(), line.data(), line.size(),
                                  MSG_NOSIGNAL | MSG_DONTWAIT));
      }
      shutdown(connection_.number(), SHUT_RDWR);
      isGone_ = true;
   }

 private:
   bool canAsk() const noexcept {
      return !isAsking_ && !isGone_ && !more_ && !isSending();
   }
   bool hasLine() const noexcept { return received_.find('\n') != std::string::npos; }
   bool isSending() const noexcept { return sent_ < toSend_.size(); }

   // What it asks is looked at when the turn ends; until it has been, no more is read.
   void served() {
      if (isSending()) {
         write();
      } else if (!isAsking_ && !hasLine()) {
         read();
      }
   }

   void read() {
      std::array<char, 1 << 16> part;
      auto const count = recv(connection_.number(), part.data(), part.size(), 0);
      if (count > 0) {
         lastHeard_ = Clock::now();
         if (received_.empty()) {
            deadline_ = lastHeard_ + kPatience;
         }
         if (more_) {
            cutOff(R"({"error":"one that follows asks nothing more"})");
            return;
         }
         received_.append(part.data(), static_cast<size_t>(count));
      } else if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
         isGone_ = true;
      }
   }

   void add(std::string_view line) {
      toSend_ += line;
      toSend_ += '\n';
      deadline_ = Clock::now() + kPatience +
                  std::chrono::seconds(toSend_.size() / kBytesASecond);
   }

   void write() {
      auto const count = ::send(connection_.number(), toSend_.data() + sent_,
                                toSend_.size() - sent_, MSG_NOSIGNAL | MSG_DONTWAIT);
      if (count >= 0) {
         lastHeard_ = Clock::now();
         sent_ += static_cast<size_t>(count);
         if (!isSending()) {
            toSend_ = {};
            sent_ = 0;
         }
      } else if (errno != EAGAIN && errno != EINTR) {
         isGone_ = true;
      }
      listen();
   }

   // To what it needs: it is not heard while it is being answered, and while it has not
   // taken an answer it is heard no more than that it can.
   void listen() {
      if (isGone_ || (isAsking_ && !isSending())) {
         follower_.reset();
         return;
      }
      if (!follower_) {
         begin();
      }
      follower_->interestIs(!isSending() ? EventLoop::Interest::reading
                                         : EventLoop::Interest::writing);
   }

   ControlSocket& owner_;
   Descriptor connection_;
   std::string received_;
   std::string toSend_;
   size_t sent_ = 0;       // of it
   bool isAsking_ = false; // and is not answered yet
   bool isGone_ = false;
   More more_;
   Clock::time_point lastHeard_ = Clock::now();
   Clock::time_point deadline_; // of what it is waited for
   std::unique_ptr<EventLoop::Follower> follower_;
};

ControlSocket::ControlSocket(EventLoop& loop, std::string path, Asked asked)
   : loop_(loop), path_(std::move(path)), asked_(std::move(asked)),
     listening_(listeningAt(path_)), file_(fileAt(path_)),
     clock_(loop, [this] { look(); }), again_(loop, [this] { listen(); }) {
   listen();
}

ControlSocket::~ControlSocket() {
   if (fileAt(path_) == file_) { // and not that of another one, which came after it
      unlink(path_.c_str());
   }
}

void ControlSocket::listen() {
   follower_ = std::make_unique<EventLoop::Follower>(loop_, listening_.number(),
                                                     EventLoop::Interest::reading,
                                                     [this] { acceptOne(); });
}

void ControlSocket::acceptOne() {
   Descriptor connection(
      accept4(listening_.number(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
   if (!connection) {
      if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
         follower_.reset(); // it would be told again and again
         again_.onceAfter(1s);
      }
      return;
   }
   auto const client = std::make_shared<Client>(*this, std::move(connection));
   makeRoom();
   if (clients_.size() >= kMostClients) {
      client->cutOff(
         R"({"error":"there are 16 clients already; allowed are no more"})");
      return;
   }
   clients_.push_back(client);
   client->begin();
   if (!clock_.isSet()) {
      clock_.every(1s);
   }
}

// One that is only there makes room for one that comes.
void ControlSocket::makeRoom() {
   if (clients_.size() < kMostClients) {
      return;
   }
   auto const quietest =
      std::ranges::min_element(clients_, {}, [](std::shared_ptr<Client> const& client) {
         return std::pair(!client->isQuiet(), client->lastHeard());
      });
   if ((*quietest)->isQuiet()) {
      (*quietest)->cutOff(R"({"error":"another client needs the place"})");
      drop(**quietest);
   }
}

void ControlSocket::look() {
   auto const now = Clock::now();
   for (auto const& client : clients_) {
      if (client->isLate(now)) {
         client->cutOff(R"({"error":"it took too long to ask, or to take an answer"})");
      }
   }
   static_cast<void>(turnEnd());
}

void ControlSocket::drop(Client const& client) {
   std::erase_if(clients_,
                 [&client](auto const& each) { return each.get() == &client; });
}

void ControlSocket::answer(Asker const& asker, std::string_view line) {
   if (auto const client = asker.lock()) {
      client->send(line);
   }
}

void ControlSocket::follow(Asker const& asker, std::string_view line, More more) {
   if (auto const client = asker.lock()) {
      client->follow(std::move(more));
      client->send(line);
   }
}

bool ControlSocket::turnEnd() {
   bool isMore = false;
   for (auto const& client : clients_) {
      bool const hasMore = client->next();
      isMore = client->pull() || hasMore || isMore;
   }
   std::erase_if(clients_, [](auto const& client) { return client->isGone(); });
   if (clients_.empty()) {
      clock_.unset();
   }
   return isMore;
}

} // namespace Agent
