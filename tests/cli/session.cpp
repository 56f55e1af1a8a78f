#include "cli/session.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace vtl::test {

namespace {

std::string drain(int fd) {
  std::string data;
  char buffer[65536];
  ssize_t got;
  while ((got = read(fd, buffer, sizeof buffer)) > 0) data.append(buffer, static_cast<size_t>(got));
  return data;
}

}  // namespace

Session::Session() {
  std::string pattern = (std::filesystem::temp_directory_path() / "vantelo-e2e-XXXXXX").string();
  char* made = mkdtemp(pattern.data());
  if (made == nullptr) throw std::runtime_error("mkdtemp failed");
  dir_ = made;
}

Session::~Session() {
  std::error_code ignored;
  std::filesystem::remove_all(dir_, ignored);
}

std::string Session::path(const std::string& name) const { return dir_ + "/" + name; }

void Session::write_file(const std::string& name, const std::string& bytes) const {
  std::ofstream file(path(name), std::ios::binary | std::ios::trunc);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::optional<std::string> Session::read_file(const std::string& name) const {
  std::ifstream file(path(name), std::ios::binary);
  if (!file) return std::nullopt;
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

RunResult Session::run(const std::vector<std::string>& args, bool json) {
  const std::optional<std::string> state_before = state();
  // Standard error goes to a file so that a large standard output cannot block.
  const std::string err_path = dir_ + "/.stderr";
  int out_pipe[2];
  if (pipe(out_pipe) != 0) throw std::runtime_error("pipe failed");
  const pid_t child = fork();
  if (child == 0) {
    std::vector<char*> argv;
    std::string program = VTL_EMULATOR_PATH;
    argv.push_back(program.data());
    std::vector<std::string> copies(args);
    for (std::string& arg : copies) argv.push_back(arg.data());
    argv.push_back(nullptr);
    const int err_fd = open(err_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    dup2(out_pipe[1], STDOUT_FILENO);
    dup2(err_fd, STDERR_FILENO);
    close(out_pipe[0]);
    close(out_pipe[1]);
    if (chdir(dir_.c_str()) != 0) _exit(127);
    execv(argv[0], argv.data());
    _exit(127);
  }
  close(out_pipe[1]);
  RunResult result;
  result.out = drain(out_pipe[0]);
  close(out_pipe[0]);
  int wait_status = 0;
  waitpid(child, &wait_status, 0);
  result.status = WIFEXITED(wait_status) ? WEXITSTATUS(wait_status) : 128 + WTERMSIG(wait_status);
  result.err = read_file(".stderr").value_or("");
  std::filesystem::remove(err_path);

  EXPECT_EQ(result.err, "") << "standard error must stay empty";
  if (result.status != 0) {
    EXPECT_EQ(state(), state_before) << "a failing invocation changed the state file";
  } else if (json) {
    EXPECT_EQ(json_error(result.out), "") << result.out;
  }
  return result;
}

void Session::run_steps(const std::vector<Step>& steps) {
  for (const Step& step : steps) {
    std::string label;
    for (const std::string& arg : step.args) label += arg + " ";
    SCOPED_TRACE("invocation: " + label);
    const std::optional<std::string> before = state();
    const RunResult result = run(step.args);
    EXPECT_EQ(result.out, step.expected_out);
    EXPECT_EQ(result.status, step.expected_status);
    const std::optional<std::string> after = state();
    switch (step.state) {
      case StateAfter::any: break;
      case StateAfter::unchanged: EXPECT_EQ(after, before); break;
      case StateAfter::changed: EXPECT_NE(after, before); break;
      case StateAfter::absent: EXPECT_FALSE(after.has_value()); break;
      case StateAfter::present: EXPECT_TRUE(after.has_value()); break;
    }
  }
}

namespace {

class JsonChecker {
 public:
  explicit JsonChecker(const std::string& text) : text_(text) {}

  std::string check() {
    skip_space();
    if (!value()) return error_.empty() ? "bad value at " + std::to_string(pos_) : error_;
    skip_space();
    if (pos_ != text_.size()) return "trailing text at " + std::to_string(pos_);
    return "";
  }

 private:
  bool fail(const std::string& what) {
    if (error_.empty()) error_ = what + " at " + std::to_string(pos_);
    return false;
  }
  void skip_space() {
    while (pos_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[pos_]))) ++pos_;
  }
  bool literal(const char* word) {
    const std::string w(word);
    if (text_.compare(pos_, w.size(), w) != 0) return fail("expected " + w);
    pos_ += w.size();
    return true;
  }
  bool string() {
    if (text_[pos_] != '"') return fail("expected string");
    for (++pos_; pos_ < text_.size(); ++pos_) {
      const char c = text_[pos_];
      if (c == '"') {
        ++pos_;
        return true;
      }
      if (static_cast<unsigned char>(c) < 0x20) return fail("control character in string");
      if (c == '\\') ++pos_;
    }
    return fail("unterminated string");
  }
  bool number() {
    const size_t start = pos_;
    if (text_[pos_] == '-') ++pos_;
    while (pos_ < text_.size() && (std::isdigit(static_cast<unsigned char>(text_[pos_])) ||
                                   text_[pos_] == '.' || text_[pos_] == 'e' || text_[pos_] == 'E' ||
                                   text_[pos_] == '+' || text_[pos_] == '-')) {
      ++pos_;
    }
    if (pos_ == start || !std::isdigit(static_cast<unsigned char>(text_[pos_ - 1]))) {
      return fail("bad number");
    }
    return true;
  }
  template <typename Item>
  bool sequence(char close, Item item) {
    ++pos_;
    skip_space();
    if (pos_ < text_.size() && text_[pos_] == close) {
      ++pos_;
      return true;
    }
    while (true) {
      skip_space();
      if (!item()) return false;
      skip_space();
      if (pos_ >= text_.size()) return fail("unterminated");
      if (text_[pos_] == ',') {
        ++pos_;
        continue;
      }
      if (text_[pos_] == close) {
        ++pos_;
        return true;
      }
      return fail("expected , or closing bracket");
    }
  }
  bool value() {
    if (pos_ >= text_.size()) return fail("unexpected end");
    const char c = text_[pos_];
    if (c == '{') {
      return sequence('}', [this] {
        if (!string()) return false;
        skip_space();
        if (pos_ >= text_.size() || text_[pos_] != ':') return fail("expected :");
        ++pos_;
        skip_space();
        return value();
      });
    }
    if (c == '[') return sequence(']', [this] { return value(); });
    if (c == '"') return string();
    if (c == 't') return literal("true");
    if (c == 'f') return literal("false");
    if (c == 'n') return literal("null");
    return number();
  }

  const std::string& text_;
  size_t pos_ = 0;
  std::string error_;
};

}  // namespace

std::string json_error(const std::string& text) { return JsonChecker(text).check(); }

}  // namespace vtl::test
