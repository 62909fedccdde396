// SPDX-License-Identifier: MIT
//
// defaults: shows and changes preference domains from the command line, with the commands, the output and
// the exit status of the system's own tool of that name, for machines that have none.
#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "macos/foundation/DistributedNotificationCenter.h"
#include "macos/foundation/Log.h"
#include "macos/foundation/Preferences.h"
#include "macos/foundation/Text.h"
#include "macos/foundation/Value.h"
#include "macos/host/Host.h"
#include "tools/defaults/Arguments.h"

namespace vennick {
namespace {

using macos::Array;
using macos::Dictionary;
using macos::Value;

constexpr std::string_view kUsage =
    "Command line interface to a user's defaults.\n"
    "Syntax:\n"
    "\n"
    "'defaults' followed by one of the following:\n"
    "\n"
    "  read                                 shows all defaults\n"
    "  read <domain>                        shows defaults for given domain\n"
    "  read <domain> <key>                  shows defaults for given domain, key\n"
    "\n"
    "  write <domain> <domain_rep>          writes domain (overwrites existing)\n"
    "  write <domain> <key> <value>         writes key for domain\n"
    "\n"
    "  delete <domain>                      deletes domain\n"
    "  delete <domain> <key>                deletes key in domain\n"
    "\n"
    "  domains                              lists all domains\n"
    "  find <word>                          lists all entries containing word\n"
    "\n"
    "<domain> is ( <domain_name> | -g | -globalDomain | NSGlobalDomain )\n"
    "\n"
    "<value> is one of:\n"
    "  <value_rep>\n"
    "  -string <string_value>\n"
    "  -data <hex_digits>\n"
    "  -int[eger] <integer_value>\n"
    "  -float  <floating-point_value>\n"
    "  -bool[ean] (true | false | yes | no)\n"
    "  -date <date_rep>\n"
    "  -array <value1> <value2> ...\n"
    "  -array-add <value1> <value2> ...\n"
    "  -dict <key1> <value1> <key2> <value2> ...\n"
    "  -dict-add <key1> <value1> ...\n";

constexpr std::string_view kGlobalDomainName = "Apple Global Domain";
constexpr std::string_view kGlobalDomainInMessages = "kCFPreferencesAnyApplication";
constexpr std::string_view kExtension = ".plist";
constexpr std::string_view kGlobalDomainFile = ".GlobalPreferences.plist";

using Words = std::vector<std::string>;

void print(std::string_view text) { std::fwrite(text.data(), 1, text.size(), stdout); }

int fail(const std::string& message) {
  macos::NSLog("\n" + message);
  return 1;
}

int failUsage() {
  std::fwrite(kUsage.data(), 1, kUsage.size(), stderr);
  return 255;
}

bool isGlobal(std::string_view domain) {
  return domain == "-g" || domain == "-globalDomain" || domain == "NSGlobalDomain" ||
         domain == kGlobalDomainName;
}

std::string_view applicationID(std::string_view domain) {
  return isGlobal(domain) ? macos::kCFPreferencesAnyApplication : domain;
}

// As messages call the domain.
std::string named(std::string_view domain) {
  return std::string(isGlobal(domain) ? kGlobalDomainInMessages : domain);
}

Dictionary contents(std::string_view domain) {
  return macos::CFPreferencesCopyMultiple(applicationID(domain));
}

std::string shown(const Value& value) { return macos::description(value, macos::DataDescription::Bytes); }

// The names of the user's domains, without the global one.
Words domainNames() {
  macos::Host& host = macos::Host::current();
  Words names;
  const auto entries = host.files().list(host.home() + "/Library/Preferences");
  if (!entries.ok()) {
    return names;
  }
  for (const macos::FolderEntry& entry : *entries) {
    const bool isDomain = entry.kind != macos::FileKind::Folder && entry.name.ends_with(kExtension) &&
                          entry.name != kGlobalDomainFile && !entry.name.starts_with("._");
    if (isDomain) {
      names.push_back(entry.name.substr(0, entry.name.size() - kExtension.size()));
    }
  }
  return names;
}

int readAll() {
  Dictionary all;
  for (const std::string& name : domainNames()) {
    all.set(name, Value(contents(name)));
  }
  all.set(kGlobalDomainName, Value(contents("-g")));
  print(shown(Value(std::move(all))) + "\n");
  return 0;
}

int read(const Words& words) {
  if (words.empty()) {
    return readAll();
  }
  if (words.size() > 2) {
    return failUsage();
  }
  const Dictionary domain = contents(words[0]);
  if (words.size() == 2) {
    const Value* value = domain.find(words[1]);
    if (value == nullptr) {
      return fail("The domain/default pair of (" + named(words[0]) + ", " + words[1] + ") does not exist");
    }
    print(shown(*value) + "\n");
    return 0;
  }
  if (domain.empty()) {
    return fail("Domain " + named(words[0]) + " does not exist");
  }
  print(shown(Value(domain)) + "\n");
  return 0;
}

int synchronize(std::string_view domain) {
  return macos::CFPreferencesAppSynchronize(applicationID(domain))
             ? 0
             : fail("Could not write domain " + named(domain) + "; exiting");
}

// Tells whoever listens that the user's languages are others now.
void postLanguageChange(std::string_view domain, std::string_view key) {
  if (isGlobal(domain) && key == "AppleLanguages") {
    macos::NSDistributedNotificationCenter::defaultCenter().postNotificationName(
        "AppleLanguagePreferencesChangedNotification");
  }
}

int writeDomain(const Words& words) {
  const auto parsed = newValueFromArguments({words[1]});
  const auto* newValue = std::get_if<NewValue>(&parsed);
  const Dictionary* dictionary = newValue != nullptr ? newValue->value.ifDictionary() : nullptr;
  if (dictionary == nullptr) {
    return fail("Rep argument is not a dictionary\nDefaults have not been changed.");
  }
  for (const auto& entry : contents(words[0])) {
    if (!dictionary->contains(entry.key())) {
      macos::CFPreferencesSetAppValue(entry.key(), std::nullopt, applicationID(words[0]));
    }
  }
  for (const auto& entry : *dictionary) {
    macos::CFPreferencesSetAppValue(entry.key(), entry.value(), applicationID(words[0]));
  }
  return synchronize(words[0]);
}

// The key's value with the new one added to it; nullopt when it is of another kind.
std::optional<Value> added(const std::optional<Value>& present, const NewValue& addition) {
  if (!present || addition.change == NewValue::Change::Replace) {
    return addition.value;
  }
  if (addition.change == NewValue::Change::AddToArray && present->ifArray() != nullptr) {
    Array array = *present->ifArray();
    for (const Value& value : *addition.value.ifArray()) {
      array.append(value);
    }
    return Value(std::move(array));
  }
  if (addition.change == NewValue::Change::AddToDictionary && present->ifDictionary() != nullptr) {
    Dictionary dictionary = *present->ifDictionary();
    for (const auto& entry : *addition.value.ifDictionary()) {
      dictionary.set(entry.key(), entry.value());
    }
    return Value(std::move(dictionary));
  }
  return std::nullopt;
}

int write(const Words& words) {
  if (words.size() < 2) {
    return failUsage();
  }
  if (words.size() == 2) {
    return writeDomain(words);
  }
  const std::string& domain = words[0];
  const std::string& key = words[1];
  const auto parsed = newValueFromArguments(Words(words.begin() + 2, words.end()));
  if (const auto* problem = std::get_if<std::string>(&parsed)) {
    return fail(*problem + "\nDefaults have not been changed.");
  }
  const Dictionary domainContents = contents(domain);
  const Value* present = domainContents.find(key);
  auto value = added(present != nullptr ? std::optional(*present) : std::nullopt, std::get<NewValue>(parsed));
  if (!value) {
    return fail("The value of " + key + " is of another type\nDefaults have not been changed.");
  }
  macos::CFPreferencesSetAppValue(key, *std::move(value), applicationID(domain));
  const int status = synchronize(domain);
  if (status == 0) {
    postLanguageChange(domain, key);
  }
  return status;
}

int remove(const Words& words) {
  if (words.empty() || words.size() > 2) {
    return failUsage();
  }
  const Dictionary domain = contents(words[0]);
  const bool isThere = words.size() == 2 ? domain.contains(words[1]) : !domain.empty();
  if (!isThere) {
    return fail("Domain (" + named(words[0]) + ") not found.\nDefaults have not been changed.");
  }
  for (const auto& entry : domain) {
    if (words.size() == 1 || entry.key() == words[1]) {
      macos::CFPreferencesSetAppValue(entry.key(), std::nullopt, applicationID(words[0]));
    }
  }
  const int status = synchronize(words[0]);
  if (status == 0 && words.size() == 2) {
    postLanguageChange(words[0], words[1]);
  }
  return status;
}

int domains(const Words&) {
  std::string list;
  for (const std::string& name : domainNames()) {
    list += (list.empty() ? "" : ", ") + name;
  }
  print(list + "\n");
  return 0;
}

// Whether the word stands in a key or a string anywhere in the value.
bool containsWord(const Value& value, std::string_view word) {
  if (const auto text = value.ifString()) {
    return macos::containsCaseInsensitive(*text, word);
  }
  if (const Array* array = value.ifArray()) {
    return std::any_of(array->begin(), array->end(),
                       [&](const Value& each) { return containsWord(each, word); });
  }
  if (const Dictionary* dictionary = value.ifDictionary()) {
    return std::any_of(dictionary->begin(), dictionary->end(), [&](const auto& entry) {
      return macos::containsCaseInsensitive(entry.key(), word) || containsWord(entry.value(), word);
    });
  }
  return false;
}

int find(const Words& words) {
  if (words.size() != 1) {
    return failUsage();
  }
  Words names = domainNames();
  names.emplace_back(kGlobalDomainName);
  std::size_t foundDomains = 0;
  for (const std::string& name : names) {
    Dictionary found;
    for (const auto& entry : contents(name)) {
      if (macos::containsCaseInsensitive(entry.key(), words[0]) || containsWord(entry.value(), words[0])) {
        found.set(entry.key(), entry.value());
      }
    }
    if (!found.empty()) {
      ++foundDomains;
      const std::string count = std::to_string(found.size());
      print("Found " + count + " keys in domain '" + name + "': " + shown(Value(std::move(found))) + "\n");
    }
  }
  if (foundDomains == 0) {
    macos::NSLog("No domain, key, nor value containing '" + words[0] + "'");
  }
  return 0;
}

int run(const Words& words) {
  struct Command {
    std::string_view name;
    int (*run)(const Words&);
  };
  static constexpr Command kCommands[] = {{"read", read},     {"write", write}, {"delete", remove},
                                          {"remove", remove}, {"rm", remove},   {"domains", domains},
                                          {"find", find}};
  if (words.empty()) {
    return failUsage();
  }
  for (const Command& command : kCommands) {
    if (words[0] == command.name) {
      return command.run(Words(words.begin() + 1, words.end()));
    }
  }
  return failUsage();
}

}  // namespace
}  // namespace vennick

int main(int argc, char** argv) { return vennick::run(vennick::Words(argv + 1, argv + argc)); }
