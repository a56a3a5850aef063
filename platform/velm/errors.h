#pragma once

#include <exception>
#include <string>
#include <utility>

namespace velm {

/// Root of everything the SDK throws. what() is meant for people and names the offending value.
class error : public std::exception {
 public:
   explicit error(std::string message) : message_(std::move(message)) {}

   char const* what() const noexcept override { return message_.c_str(); }
   std::string const& msg() const { return message_; }

   /// Throws *this as the class that it really is, from a reference to the root.
   [[noreturn]] virtual void raise() const { throw *this; }

 private:
   std::string message_;
};

/// Gives each error class its own raise(), so that a caught root can be thrown on without slicing.
template <class Derived, class Base>
class error_of : public Base {
 public:
   using Base::Base;
   [[noreturn]] void raise() const override { throw static_cast<Derived const&>(*this); }
};

/// A value that its type or the switch does not accept.
class invalid_argument_error : public error_of<invalid_argument_error, error> {
 public:
   using error_of::error_of;
};

/// A number outside the range of its attribute.
class invalid_range_error : public error_of<invalid_range_error, invalid_argument_error> {
 public:
   using error_of::error_of;
};

/// The request contradicts what is configured.
class configuration_error : public error_of<configuration_error, error> {
 public:
   using error_of::error_of;
};

/// The agent is not configured for the operation.
class unconfigured_agent_error : public error_of<unconfigured_agent_error, configuration_error> {
 public:
   using error_of::error_of;
};

/// The platform does not have the operation.
class unsupported_error : public error_of<unsupported_error, error> {
 public:
   using error_of::error_of;
};

/// The SDK was called by a thread that does not hold sdk_scoped_lock.
class no_scoped_lock_obtained_error : public error_of<no_scoped_lock_obtained_error, error> {
 public:
   using error_of::error_of;
};

/// Installs what the SDK calls with an error that a callback or a task let out. What the handler throws ends the
/// process. Null restores the default, which ends the process at once.
void exception_handler_is(void (*handler)(error const&));

/// Hands an error to the installed handler; for the main loop.
void report_uncaught(error const& e);

}  // namespace velm
