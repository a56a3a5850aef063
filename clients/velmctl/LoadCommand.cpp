// load: many groups and routes from a file, in bulk.
//
//    the file, read whole ---> [RESYNC_START] ---> groups ---> routes ---> [RESYNC_END, if all was accepted]
//
// It is read whole first, so that nothing is sent of a file that is wrong. Requests are made as they are sent, so that
// a million routes are never in memory as messages. All groups are acknowledged before the first route that may name
// one is sent. The number of a call says which elements were in it, and so which line a status speaks of.
//
// A call that fails ends the load: nothing new is begun, and what is under way is waited for. A line that is refused
// does not end it, and is kept with its reason in a file that can be loaded again. After either the resync stays open,
// since to close it would delete what was not accepted.

#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <optional>
#include <system_error>

#include "clients/support/Call.h"
#include "clients/support/Wire.h"
#include "clients/velmctl/Commands.h"
#include "clients/velmctl/Errors.h"
#include "clients/velmctl/LoadFile.h"
#include "clients/velmctl/Progress.h"
#include "clients/velmctl/Refusal.h"

namespace VelmSdkRpc::ctl {
namespace {

struct Arguments {
   std::string file;
   std::uint32_t tag = 0;
   std::size_t batch = 1000;
   std::size_t outstanding = 4;
   bool resync = false;
   std::string refused;  // empty: FILE.refused
};

/// The lines that were refused, in a file that there is only if there are any.
class RefusedLines {
 public:
   explicit RefusedLines(std::string path) : path_(std::move(path)) {}

   void add(std::string_view line, pb::rpc_status_msg const& status) {
      if (!file_.is_open()) open();
      fmt::format_to(std::ostreambuf_iterator<char>(file_), "{}  # {}\n", line.substr(0, line.find('#')),
                     textOf(status));
      if (count_++ == 0) first_ = textOf(status);
   }

   std::size_t count() const { return count_; }
   std::string const& first() const { return first_; }
   std::string const& path() const { return path_; }

 private:
   void open() {
      file_.open(path_);
      if (!file_) throw std::system_error(errno, std::generic_category(), fmt::format("cannot write {}", path_));
   }

   std::string const path_;
   std::ofstream file_;
   std::size_t count_ = 0;
   std::string first_;  // why the first one was refused
};

class Load {
 public:
   Load(Session& session, Arguments const& arguments)
      : session_(session),
        arguments_(arguments),
        file_(arguments.file),
        refused_(arguments.refused.empty() ? arguments.file + ".refused" : arguments.refused),
        progress_(session.standardError(), file_.groups().size() + file_.routes().size()) {}

   void run() {
      if (arguments_.resync) resync(pb::RESYNC_START);
      send<pb::nexthop_group_bulk_msg>(
         "velmsdk_service.nexthop_group_bulk", file_.groups(),
         [](auto& bulk, auto const& group) { *bulk.add_nexthop_group() = group.message; });
      send<pb::ip_route_bulk_msg>("velmsdk_service.ip_route_bulk", file_.routes(),
                                  [this](auto& bulk, auto const& route) {
                                     auto& message = *bulk.add_ip_route();
                                     message.mutable_prefix()->set_addr(route.address, route.addressSize);
                                     message.mutable_prefix()->set_prefix_length(route.prefixLength);
                                     if (!route.group.empty())
                                        message.set_nexthop_group(route.group.data(), route.group.size());
                                     message.set_tag(arguments_.tag);
                                  });
      if (arguments_.resync && isWhole()) resync(pb::RESYNC_END);
      tell();
   }

 private:
   bool isWhole() const { return !failure_ && refused_.count() == 0 && !session_.interrupt().isRaised(); }

   void resync(pb::rpc_server_resync_state_enum state) {
      pb::rpc_server_resync_msg request;
      request.set_resync_state(state);
      throwIfRefused(*session_.ask(methodNamed("velmsdk_service.rpc_server_resync"), request));
   }

   /// Sends the elements in bulks, of which `append` fills one, unless something before has failed.
   template <class Bulk, class Element, class Append>
   void send(char const* methodName, std::vector<Element> const& elements, Append append) {
      if (failure_ || elements.empty()) return;
      auto const& method = methodNamed(methodName);
      Bulk bulk;
      std::size_t sent = 0;
      auto const next = [&]() -> std::optional<grpc::ByteBuffer> {
         if (sent == elements.size()) return std::nullopt;
         auto const end = std::min(sent + arguments_.batch, elements.size());
         bulk.Clear();  // keeps its memory for the next one
         for (; sent < end; ++sent) append(bulk, elements[sent]);
         return toWire(bulk);
      };
      session_.connection().callMany(method, arguments_.outstanding, session_.timeoutFor(method), next,
                                     [&](AsyncCalls::Reply& reply) {
                                        if (!reply.status.ok()) {
                                           if (!failure_) failure_ = reply.status;
                                           return;
                                        }
                                        takeAnswer(reply, elements);
                                     });
   }

   template <class Element>
   void takeAnswer(AsyncCalls::Reply const& reply, std::vector<Element> const& elements) {
      answer_.Clear();
      fromWire(reply.response, answer_);
      auto const begin = reply.number * arguments_.batch;
      for (int i = 0; i < answer_.status_size(); ++i) {
         if (isRefused(answer_.status(i))) {
            refused_.add(file_.line(elements[begin + static_cast<std::size_t>(i)].line), answer_.status(i));
         }
      }
      acknowledged_ += static_cast<std::size_t>(answer_.status_size());
      progress_.is(acknowledged_);
   }

   /// The figures, and then what went wrong.
   void tell() {
      auto const seconds = progress_.elapsed().count();
      auto const total = file_.groups().size() + file_.routes().size();
      JsonDocument document(rapidjson::kObjectType);
      auto& allocator = document.GetAllocator();
      addMember(document, "lines", Json(total), allocator);
      addMember(document, "acknowledged", Json(acknowledged_), allocator);
      addMember(document, "refused", Json(refused_.count()), allocator);
      addMember(document, "seconds", Json(seconds), allocator);
      addMember(document, "per_second", Json(static_cast<double>(acknowledged_) / seconds), allocator);
      if (refused_.count() > 0) addMember(document, "refused_file", refused_.path(), allocator);
      session_.output().result(
         document, fmt::format("{} of {} acknowledged, {} refused, {:.2f} s, {:.0f}/s\n", acknowledged_, total,
                               refused_.count(), seconds, static_cast<double>(acknowledged_) / seconds));
      if (arguments_.resync && !isWhole()) {
         session_.note("velmctl: the resync stays open, nothing is lost: load again, or `velmctl resync end`");
      }
      session_.interrupt().check();
      if (failure_) throw CallError(*failure_);
      if (refused_.count() > 0) {
         throw Refused(fmt::format("{} lines refused, kept in {}; the first: {}", refused_.count(), refused_.path(),
                                   refused_.first()));
      }
   }

   Session& session_;
   Arguments const& arguments_;
   LoadFile const file_;
   RefusedLines refused_;
   Progress progress_;
   pb::rpc_status_bulk_msg answer_;
   std::size_t acknowledged_ = 0;
   std::optional<grpc::Status> failure_;  // of the first call that failed
};

}  // namespace

void addLoadCommand(Commands const& commands) {
   auto const arguments = std::make_shared<Arguments>();
   auto& app = commands.add("load", "Program the groups and routes of a file in bulk",
                            [arguments](Session& session) { Load(session, *arguments).run(); });
   app.add_option("FILE", arguments->file, "A line each: PREFIX GROUP, or PREFIX - to delete, or nhg NAME NEXTHOP...")
      ->required()
      ->option_text(" ");
   app.add_option("--tag", arguments->tag, "The tag of the routes")->option_text("N");
   app.add_option("--batch", arguments->batch, "Lines in a call (1000)")
      ->check(CLI::Range(1, 100000))
      ->option_text("N");
   app.add_option("--outstanding", arguments->outstanding, "Calls under way at a time (4)")
      ->check(CLI::Range(1, 64))
      ->option_text("N");
   app.add_flag("--resync", arguments->resync, "What is not in the file goes, once all of it is accepted");
   app.add_option("--refused", arguments->refused, "Where to keep lines that are refused (FILE.refused)")
      ->option_text("FILE");
}

}  // namespace VelmSdkRpc::ctl
