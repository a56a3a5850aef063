#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "cli/demo/EntryTables.h"
#include "cli/demo/Narration.h"
#include "velmsdk.pb.h"

/// The claims of the story: each throws std::runtime_error, which tells what does not hold.
namespace VelmSdkRpc::demo {

void expect(bool holds, std::string const& claim);

void expectSuccess(pb::rpc_status_msg const& status, std::string_view request);
/// Of a bulk request of so many elements, each.
void expectSuccess(pb::rpc_status_bulk_msg const& answer, std::size_t size, std::string_view request);

/// The name of the status, which is the expected one.
std::string statusName(pb::rpc_status_msg const& answer, pb::rpc_status_msg::rpc_status_value_enum expected);

/// The switch holds what was asked for, in whatever order, and nothing else. `kind` names the entries.
template <class Entry>
void expectExactly(std::vector<Entry> held, std::vector<Entry> asked, std::string_view kind) {
   std::ranges::sort(asked);
   std::ranges::sort(held);
   std::vector<Entry> different;
   std::ranges::set_symmetric_difference(held, asked, std::back_inserter(different));
   expect(different.empty(),
          fmt::format("the switch holds exactly the {} {} asked for; it shows {}, and these are amiss:\n{}",
                      asked.size(), kind, held.size(), tableOf(different).text(indent)));
}

/// Shows what it holds once that is as expected.
template <class Entry>
void showExactly(std::vector<Entry> const& held, std::vector<Entry> const& asked, std::string_view kind) {
   expectExactly(held, asked, kind);
   show(tableOf(held));
}

}  // namespace VelmSdkRpc::demo
