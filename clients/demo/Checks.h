#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "clients/demo/EntryTables.h"
#include "clients/demo/Narration.h"
#include "proto/velmsdk.pb.h"

/// The claims of the story: each throws std::runtime_error, which tells what does not hold.
namespace VelmSdkRpc::demo {

void expect(bool holds, std::string const& claim);

void expectSuccess(pb::rpc_status_msg const& status, std::string_view request);
/// Of a bulk request of so many elements, each.
void expectSuccess(pb::rpc_status_bulk_msg const& answer, std::size_t size, std::string_view request);

/// The name of the status, which is the expected one.
std::string statusName(pb::rpc_status_msg const& answer, pb::rpc_status_msg::rpc_status_value_enum expected);

/// Both have the same entries, in whatever order; `claim` says of which kind.
template <class Entry>
void expectSame(std::vector<Entry> found, std::vector<Entry> expected, std::string_view claim) {
   std::ranges::sort(expected);
   std::ranges::sort(found);
   std::vector<Entry> different;
   std::ranges::set_symmetric_difference(found, expected, std::back_inserter(different));
   expect(different.empty(), fmt::format("{} are exactly the {} expected; there are {}, and these are amiss:\n{}",
                                         claim, expected.size(), found.size(), tableOf(different).text(indent)));
}

/// The switch holds what was asked for and nothing else. `kind` names the entries.
template <class Entry>
void expectExactly(std::vector<Entry> const& held, std::vector<Entry> const& asked, std::string_view kind) {
   expectSame(held, asked, fmt::format("the {} that the switch holds", kind));
}

/// The switch does some things behind the answer, so its rows are read until they are as asked for.
template <class Read, class IsAsAsked>
auto awaitRows(Read read, IsAsAsked isAsAsked, std::string_view kind) {
   auto const deadline = Clock::now() + waitLimit;
   for (;;) {
      auto rows = read();
      if (isAsAsked(rows)) return rows;
      expect(Clock::now() < deadline,
             fmt::format("the switch's {} become those asked for\n{}", kind, tableOf(rows).text(indent)));
   }
}

/// Shows what it holds once that is as expected.
template <class Entry>
void showExactly(std::vector<Entry> const& held, std::vector<Entry> const& asked, std::string_view kind) {
   expectExactly(held, asked, kind);
   show(tableOf(held));
}

}  // namespace VelmSdkRpc::demo
