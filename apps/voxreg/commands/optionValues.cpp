#include "commands/optionValues.h"

#include <string>
#include <vector>

namespace host {

namespace {

using nlohmann::json;

/// A number if the option takes numbers.
json valueOf(const CLI::Option& option, const std::string& text) {
  if (option.get_type_name() == "TEXT") return text;
  const json number = json::parse(text, nullptr, /*allow_exceptions=*/false);
  return number.is_number() ? number : json(text);
}

json valueOf(const CLI::Option& option) {
  if (option.get_expected_max() == 0) return option.count() > 0;
  std::vector<std::string> texts = option.results();
  if (texts.empty() && !option.get_default_str().empty()) texts = {option.get_default_str()};
  if (texts.empty()) return {};
  if (option.get_expected_max() == 1) return valueOf(option, texts.front());
  json values = json::array();
  for (const std::string& text : texts) values.push_back(valueOf(option, text));
  return values;
}

}  // namespace

json optionValues(const CLI::App& command) {
  json values = json::object();
  for (const CLI::Option* const option : command.get_options())
    if (!option->get_lnames().empty() && option->get_lnames().front() != "help")
      values[option->get_lnames().front()] = valueOf(*option);
  for (const CLI::App* const group : command.get_subcommands([](const CLI::App*) { return true; }))
    values.update(optionValues(*group));
  return values;
}

}  // namespace host
