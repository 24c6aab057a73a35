// Commands that need no store.
#include <fmt/format.h>

#include <scheduler/Commands.h>

namespace mesk::host {
namespace {

/// Completes commands, options and names of tasks. Names are compared by hand: compgen would expand what is in them.
// clang-format off
constexpr const char* kBash = R"bash(# Completion of meskctl for bash: source this, or put it into /etc/bash_completion.d
_meskctl() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command= store= user= word name i
  COMPREPLY=()
  for ((i = 1; i < COMP_CWORD; ++i)); do
    word=${COMP_WORDS[i]}
    case $word in
      --store) ((++i)); store=${COMP_WORDS[i]} ;;
      --user) ((++i)); user=${COMP_WORDS[i]} ;;
      -*) ;;
      *)
        if [ -z "$command" ]; then
          command=$word
        elif [[ "@PARENTS@ " == *" $command "* ]]; then
          command+=" $word"
        fi
        ;;
    esac
  done
  if [ "$previous" = --store ]; then
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
    return
  fi
  if [ -z "$command" ]; then
    mapfile -t COMPREPLY < <(compgen -W "@COMMANDS@ --store --user --json --quiet --help --version" -- "$current")
    return
  fi
  if [[ $current == -* ]]; then
    case $command in
@OPTIONS@    esac
    return
  fi
  case $command in
@CHILDREN@    apply) mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    completion) mapfile -t COMPREPLY < <(compgen -W bash -- "$current") ;;
    export | show | next | run | enable | disable | history | stats | delete)
      while IFS= read -r name; do
        name=$(printf %q "$name")
        [[ $name == "$current"* ]] && COMPREPLY+=("$name")
      done < <("${COMP_WORDS[0]}" ${store:+--store "$store"} ${user:+--user "$user"} list --names 2>/dev/null)
      ;;
  esac
}
complete -F _meskctl meskctl
)bash";
// clang-format on

constexpr const char* kCommonOptions = "--store --user --json --quiet";

void replace(std::string& text, const std::string& what, const std::string& with) {
  text.replace(text.find(what), what.size(), with);
}

std::string namesOf(const std::vector<Command>& commands) {
  std::string names;
  for (const Command& command : commands) names += (names.empty() ? "" : " ") + std::string(command.name);
  return names;
}

/// A line of a `case` that offers words.
std::string offer(const std::string& pattern, const std::string& words) {
  return fmt::format("\"{}\") mapfile -t COMPREPLY < <(compgen -W \"{}\" -- \"$current\") ;;\n", pattern, words);
}

}  // namespace

int codesCommand(const Invocation& invocation) {
  if (invocation.json) {
    Json array = Json::array();
    for (const int code : storeCodes()) {
      array.push_back(
          {{"code", code}, {"meaning", storeCodeText(code)}, {"exitCode", static_cast<int>(exitCodeOf(code))}});
    }
    printJson(array);
    return kExitOk;
  }
  Table table({{"CODE", Table::Align::kRight}, {"EXIT", Table::Align::kRight}, {"MEANING"}});
  for (const int code : storeCodes()) {
    table.add({std::to_string(code), std::to_string(exitCodeOf(code)), storeCodeText(code)});
  }
  print(table);
  return kExitOk;
}

int completionCommand(const Invocation&) {
  std::string parents;
  std::string children;
  for (const Command& command : commands()) {
    if (command.commands.empty()) continue;
    parents += std::string(" ") + command.name;
    children += "    " + offer(command.name, namesOf(command.commands));
  }
  std::string options;
  eachCommand([&options](const std::string& name, const Command& command) {
    CLI::App app;
    Invocation unused;
    command.declare(app, unused);
    std::string words = kCommonOptions;
    for (const CLI::Option* option : app.get_options()) {
      for (const std::string& word : option->get_lnames()) words += " --" + word;
    }
    options += "      " + offer(name, words);
  });
  std::string script = kBash;
  replace(script, "@PARENTS@", parents);
  replace(script, "@CHILDREN@", children);
  replace(script, "@COMMANDS@", namesOf(commands()));
  replace(script, "@OPTIONS@", options);
  print(script);
  return kExitOk;
}

}  // namespace mesk::host
