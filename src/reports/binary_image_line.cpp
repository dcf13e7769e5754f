#include "reports/binary_image_line.h"

#include <vector>

namespace sondrel {

namespace {

// RE2's \s: space, \t, \n, \f, \r (not \v).
bool isRegexSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\f' || c == '\r'; }
bool isLowerHex(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); }

class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}
  bool literal(char c) {
    if (at_ >= text_.size() || text_[at_] != c) return false;
    ++at_;
    return true;
  }
  bool hexRun() { return run(isLowerHex); }
  bool spaceRun() { return run(isRegexSpace); }
  size_t at() const { return at_; }
  void moveTo(size_t at) { at_ = at; }

 private:
  template <typename Predicate>
  bool run(Predicate&& predicate) {
    const size_t from = at_;
    while (at_ < text_.size() && predicate(text_[at_])) ++at_;
    return at_ > from;
  }
  std::string_view text_;
  size_t at_ = 0;
};

}  // namespace

std::optional<BinaryImageFields> matchBinaryImageLine(std::string_view line) {
  const size_t n = line.size();

  Scanner scan(line);
  if (!scan.literal('0') || !scan.literal('x') || !scan.hexRun() || !scan.spaceRun() || !scan.literal('-') ||
      !scan.spaceRun() || !scan.literal('0') || !scan.literal('x') || !scan.hexRun() || !scan.spaceRun()) {
    return std::nullopt;
  }
  // \+?(\S+): the whole non-space token, less a leading "+" unless that is all of it.
  size_t nameStart = scan.at();
  size_t nameEnd = nameStart;
  while (nameEnd < n && !isRegexSpace(line[nameEnd])) ++nameEnd;
  if (nameEnd == nameStart) return std::nullopt;
  if (line[nameStart] == '+' && nameEnd - nameStart > 1) ++nameStart;
  scan.moveTo(nameEnd);
  if (!scan.spaceRun() || !scan.literal('(')) return std::nullopt;
  const size_t versionStart = scan.at();

  // From the right: does a ">" at q end "<.+>" with "\s+.+" after it?
  // lastCloser[i] is the largest such q at or after i (or n when none).
  std::vector<size_t> lastCloser(n + 1, n);
  for (size_t i = n; i-- > 0;) {
    const bool closes = line[i] == '>' && i + 1 < n && isRegexSpace(line[i + 1]) && n - (i + 1) >= 2;
    lastCloser[i] = lastCloser[i + 1] != n ? lastCloser[i + 1] : (closes ? i : n);
  }
  // The version group is greedy: the last ")" (with at least one character
  // before it) that "\s+<.+>\s+.+" follows.
  for (size_t close = n; close-- > versionStart + 1;) {
    if (line[close] != ')' || close + 1 >= n || !isRegexSpace(line[close + 1])) continue;
    size_t open = close + 1;
    while (open < n && isRegexSpace(line[open])) ++open;
    if (open >= n || line[open] != '<' || open + 2 > n || lastCloser[open + 2] == n) continue;
    const size_t closer = lastCloser[open + 2];
    size_t pathStart = closer + 1;
    while (pathStart < n && isRegexSpace(line[pathStart])) ++pathStart;
    if (pathStart == n) pathStart = n - 1;  // \s+ gives its last character back to (.+)
    return BinaryImageFields{line.substr(nameStart, nameEnd - nameStart),
                             line.substr(versionStart, close - versionStart), line.substr(pathStart)};
  }
  return std::nullopt;
}

}  // namespace sondrel
