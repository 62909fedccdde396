// SPDX-License-Identifier: MIT
#include "tests/support/Instance.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <thread>
#include <vector>

namespace vennick::tests {

namespace {

const char* argumentFor(Quits quits) {
  switch (quits) {
    case Quits::AtOnce:
      return "at-once";
    case Quits::AfterTwoSeconds:
      return "later";
    case Quits::Never:
      return "never";
  }
  return "";
}

std::vector<std::string> environmentWith(const std::map<std::string, std::string>& entries) {
  std::map<std::string, std::string> variables;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string_view text = *entry;
    variables[std::string(text.substr(0, text.find('=')))] = text.substr(text.find('=') + 1);
  }
  variables.erase("MACOS_ROOT");
  variables.erase("HOME");
  for (const auto& [name, value] : entries) variables[name] = value;
  std::vector<std::string> result;
  for (const auto& [name, value] : variables) result.push_back(name + "=" + value);
  return result;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> result;
  for (std::string& text : texts) result.push_back(text.data());
  result.push_back(nullptr);
  return result;
}

}  // namespace

std::string infoPlist(const std::map<std::string, std::string>& entries) {
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n";
  for (const auto& [key, value] : entries) {
    text += "\t<key>" + key + "</key>\n\t<string>" + value + "</string>\n";
  }
  return text + "</dict>\n</plist>\n";
}

std::string makeApplication(const TemporaryRoot& root, std::string_view bundle, std::string_view identifier) {
  const std::string contents = std::string(bundle) + "/Contents";
  const std::string name = std::filesystem::path(bundle).stem().string();
  root.writeFile(contents + "/Info.plist",
                 infoPlist({{"CFBundleExecutable", name}, {"CFBundleIdentifier", std::string(identifier)}}));
  root.copyIn(VENNICK_TEST_INSTANCE, contents + "/MacOS/" + name);
  return root.hostPath(contents + "/MacOS/" + name);
}

Instance::Instance(const std::string& executable, Quits quits,
                   const std::map<std::string, std::string>& environment) {
  int output[2];
  if (pipe2(output, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
  std::vector<std::string> arguments{executable, argumentFor(quits)};
  std::vector<std::string> variables = environmentWith(environment);
  const int error = posix_spawn(&process_, executable.c_str(), &actions, nullptr, pointers(arguments).data(),
                                pointers(variables).data());
  posix_spawn_file_actions_destroy(&actions);
  close(output[1]);
  // Its first line, or the end of a process that says nothing.
  char character = 0;
  while (error == 0 && read(output[0], &character, 1) == 1 && character != '\n') {
  }
  close(output[0]);
  if (error != 0 || character != '\n') throw std::runtime_error(executable + " did not start");
}

Instance::~Instance() {
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
}

bool Instance::endsWithin(std::chrono::milliseconds time) const {
  const auto deadline = std::chrono::steady_clock::now() + time;
  while (true) {
    siginfo_t ended{};
    waitid(P_PID, static_cast<id_t>(process_), &ended, WEXITED | WNOHANG | WNOWAIT);
    if (ended.si_pid == process_) return true;
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

}  // namespace vennick::tests
