#pragma once

#include <string>
#include <typeinfo>

#include "platform/velm/errors.h"

namespace VelmSdkRpc {

/// The text of the Error that `fn` throws; says so if it throws none, or one of another class, be it a derived one.
template <class Error, class Fn>
std::string errorText(Fn fn) {
   try {
      fn();
   } catch (velm::error const& e) {
      return typeid(e) == typeid(Error) ? e.what() : std::string("another class: ") + e.what();
   }
   return "no error";
}

}  // namespace VelmSdkRpc
