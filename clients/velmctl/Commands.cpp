#include "clients/velmctl/Commands.h"

#include <utility>

namespace VelmSdkRpc::ctl {

void addCommonOptions(CLI::App& app, Options& options) {
   static std::map<std::string, Output::Form> const forms{
      {"table", Output::Form::table}, {"json", Output::Form::json}, {"jsonl", Output::Form::jsonLines}};
   static std::map<std::string, Color> const colors{
      {"auto", Color::automatic}, {"always", Color::always}, {"never", Color::never}};
   auto constexpr group = "Common options";
   app.add_option("-a,--address", options.address,
                  "Where the agent listens: HOST:PORT or unix:PATH; else $VELMCTL_ADDRESS, or 127.0.0.1:9543")
      ->option_text("ADDRESS")
      ->take_last()
      ->group(group);
   app.add_option("-t,--timeout", options.timeoutSeconds,
                  "Seconds that a call may take (10); a watch or a table read as a stream may take any time")
      ->check(CLI::PositiveNumber)
      ->option_text("SECONDS")
      ->take_last()
      ->group(group);
   app.add_option("-o,--output", options.form, "How results are written: table, json or jsonl")
      ->transform(CLI::CheckedTransformer(forms).description(""))
      ->option_text("FORM")
      ->take_last()
      ->group(group);
   app.add_option("--color", options.color, "Colour: auto, always or never")
      ->transform(CLI::CheckedTransformer(colors).description(""))
      ->option_text("WHEN")
      ->take_last()
      ->group(group);
   app.set_help_flag("-h,--help", "Tell this and end")->group(group);
   for (auto* const command : app.get_subcommands([](CLI::App const*) { return true; })) {
      addCommonOptions(*command, options);
   }
}

CLI::App* findCommand(CLI::App& app, std::string const& name) {
   auto const found = app.get_subcommands([&](CLI::App const* each) { return each->get_name() == name; });
   return found.empty() ? nullptr : found.front();
}

CLI::App& Commands::add(std::string const& name, std::string const& description, Action action,
                        Completer completer) const {
   auto& app = *app_.add_subcommand(name, description);
   app.callback([&line = line_, action = std::move(action)] { line.action = action; });
   if (completer) line_.completers[&app] = std::move(completer);
   return app;
}

Commands Commands::group(std::string const& name, std::string const& description) const {
   if (auto* const known = findCommand(app_, name)) return {*known, line_};
   auto& app = *app_.add_subcommand(name, description);
   app.require_subcommand(1);
   return {app, line_};
}

}  // namespace VelmSdkRpc::ctl
