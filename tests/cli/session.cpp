#include "cli/session.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <fstream>
#include <sstream>

namespace vtl::test {

std::optional<std::string> Session::read_file(const std::string& name) const {
  std::ifstream file(*this / name, std::ios::binary);
  if (!file) return std::nullopt;
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

Result Session::run(const Command& args, bool json) const {
  const std::optional<std::string> state_before = state();
  const Result result = Dir::run(Launch{args});
  EXPECT_EQ(result.err, "") << "standard error must stay empty";
  if (result.status != 0) {
    EXPECT_EQ(state(), state_before) << "a failing invocation changed the state file";
  } else if (json) {
    EXPECT_EQ(json_error(result.out), "") << result.out;
  }
  return result;
}

void Session::run_steps(const std::vector<Step>& steps) const {
  for (const Step& step : steps) {
    std::string label;
    for (const std::string& arg : step.args) label += arg + " ";
    SCOPED_TRACE("invocation: " + label);
    const std::optional<std::string> before = state();
    const Result result = run(step.args);
    EXPECT_EQ(result.out, step.expected_out);
    EXPECT_EQ(result.status, step.expected_status);
    const std::optional<std::string> after = state();
    switch (step.state) {
      case StateAfter::any:
        break;
      case StateAfter::unchanged:
        EXPECT_EQ(after, before);
        break;
      case StateAfter::changed:
        EXPECT_NE(after, before);
        break;
      case StateAfter::absent:
        EXPECT_FALSE(after.has_value());
        break;
      case StateAfter::present:
        EXPECT_TRUE(after.has_value());
        break;
    }
  }
}

namespace {

// Recursive descent over the JSON grammar; each step returns false at the
// first fault, leaving pos at it.
struct JsonChecker {
  const std::string& t;
  size_t pos = 0;

  char peek() {
    while (pos < t.size() && std::isspace(static_cast<unsigned char>(t[pos]))) ++pos;
    return pos < t.size() ? t[pos] : '\0';
  }
  bool eat(char c) { return peek() == c && (++pos, true); }
  bool string() {
    if (!eat('"')) return false;
    for (; pos < t.size() && t[pos] != '"'; ++pos) {
      if (static_cast<unsigned char>(t[pos]) < 0x20) return false;
      if (t[pos] == '\\') ++pos;
    }
    return pos++ < t.size();
  }
  bool number() {
    const size_t start = pos;
    while (pos < t.size() && std::strchr("+-.eE0123456789", t[pos]) != nullptr) ++pos;
    return pos > start && std::isdigit(static_cast<unsigned char>(t[pos - 1]));
  }
  bool word(const char* w) {
    const size_t n = std::strlen(w);
    return t.compare(pos, n, w) == 0 && (pos += n, true);
  }
  template <typename Item>
  bool sequence(char close, Item item) {
    ++pos;
    if (eat(close)) return true;
    do {
      if (!item()) return false;
    } while (eat(','));
    return eat(close);
  }
  bool value() {
    const char c = peek();
    if (c == '{') return sequence('}', [this] { return string() && eat(':') && value(); });
    if (c == '[') return sequence(']', [this] { return value(); });
    if (c == '"') return string();
    return word("true") || word("false") || word("null") || number();
  }
};

}  // namespace

std::string json_error(const std::string& text) {
  JsonChecker checker{text};
  if (checker.value() && checker.peek() == '\0') return "";
  return "not valid JSON at byte " + std::to_string(checker.pos);
}

}  // namespace vtl::test
