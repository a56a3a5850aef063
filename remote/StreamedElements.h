#pragma once

#include <string>

#include "convert/Values.h"
#include "rpc/Method.h"

namespace VelmSdkRpc {

/// What streams of names, and of interfaces, have in common: a message holds one. The adapter adds its `call`.
template <auto post>
struct StreamedNames : Method<post> {
   static typename Method<post>::Response response(std::string const& name) {
      typename Method<post>::Response response;
      response.set_name(name);
      return response;
   }
};

template <auto post>
struct StreamedIntfs : Method<post> {
   static typename Method<post>::Response response(velm::intf_id_t const& intf) {
      typename Method<post>::Response response;
      *response.mutable_intf() = types::convert(intf);
      return response;
   }
};

}  // namespace VelmSdkRpc
