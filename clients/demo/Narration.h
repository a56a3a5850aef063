#pragma once

#include <fmt/format.h>

#include <chrono>
#include <string_view>
#include <utility>

/// How the story measures time and is put on stdout.
namespace VelmSdkRpc::demo {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

/// How long the story waits for what must come.
constexpr std::chrono::seconds waitLimit{20};

constexpr std::string_view indent = "   ";

template <class... Values>
void say(fmt::format_string<Values...> text, Values&&... values) {
   fmt::print("{}{}\n", indent, fmt::format(text, std::forward<Values>(values)...));
}

/// The tables with an empty line before and after each.
template <class... Tables>
void show(Tables const&... tables) {
   fmt::print("\n");
   (fmt::print("{}\n", tables.text(indent)), ...);
}

}  // namespace VelmSdkRpc::demo
