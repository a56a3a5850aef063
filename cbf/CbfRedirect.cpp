#include "cbf/CbfRedirect.h"

#include <algorithm>

#include "platform/qor/Hash.h"

namespace VelmSdkRpc {
namespace {

bool isSeparator(char c) { return c == '-' || c == '_'; }

}  // namespace

std::string CbfRedirectKey::uniqueName() const {
   auto const& match = matchNexthopGroup;
   auto const& redirect = redirectNexthopGroup;
   auto const common = static_cast<std::size_t>(std::ranges::mismatch(match, redirect).in1 - match.begin());
   // The match group is a whole word at the head of the redirect group, which thus says both: nhg, nhg-red.
   if (common == match.size() && common < redirect.size() && isSeparator(redirect[common])) return redirect;
   // They share a stem that ends in a separator, and it stands once: nhg-a, nhg-b make nhg-a-b.
   if (common != 0 && isSeparator(redirect[common - 1])) return match + redirect.substr(common - 1);
   return match + '-' + redirect;
}

std::uint32_t CbfRedirectKey::hash() const {
   Qor::Hash mixed(Qor::HashHelper::hashSeed32());
   mixed.hashMix(std::string_view(matchNexthopGroup));
   mixed.hashMix(std::string_view(redirectNexthopGroup));
   return mixed.result();
}

}  // namespace VelmSdkRpc
