#pragma once
// A small streaming JSON writer: commas and escapes are its business, the
// caller only says what comes next.

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace sondrel::tools {

class JsonWriter {
 public:
  JsonWriter& beginObject() { return open('{'); }
  JsonWriter& endObject() { return close('}'); }
  JsonWriter& beginArray() { return open('['); }
  JsonWriter& endArray() { return close(']'); }

  JsonWriter& key(std::string_view name) {
    separate();
    appendString(name);
    out_ += ':';
    afterKey_ = true;
    return *this;
  }

  JsonWriter& value(std::string_view text) {
    separate();
    appendString(text);
    return *this;
  }
  // Null pointers are JSON null.
  JsonWriter& value(const char* text) {
    if (text == nullptr) return null();
    return value(std::string_view(text));
  }
  JsonWriter& value(bool flag) { return raw(flag ? "true" : "false"); }
  JsonWriter& value(uint64_t number) { return raw(std::to_string(number)); }
  JsonWriter& value(uint32_t number) { return raw(std::to_string(number)); }
  JsonWriter& value(int64_t number) { return raw(std::to_string(number)); }
  JsonWriter& value(int number) { return raw(std::to_string(number)); }
  JsonWriter& value(double number) {
    if (!std::isfinite(number)) return null();
    char text[32];
    std::snprintf(text, sizeof text, "%.17g", number);
    return raw(text);
  }
  JsonWriter& value(float number) {
    if (!std::isfinite(number)) return null();
    char text[32];
    std::snprintf(text, sizeof text, "%.9g", static_cast<double>(number));
    return raw(text);
  }
  JsonWriter& null() { return raw("null"); }

  template <typename T>
  JsonWriter& field(std::string_view name, const T& fieldValue) {
    key(name);
    return value(fieldValue);
  }

  // A fixed char array: its text up to the first NUL (never past the array).
  template <size_t N>
  JsonWriter& fixedText(std::string_view name, const char (&text)[N]) {
    size_t length = 0;
    while (length < N && text[length] != '\0') ++length;
    key(name);
    return value(std::string_view(text, length));
  }

  [[nodiscard]] const std::string& str() const { return out_; }

 private:
  JsonWriter& open(char bracket) {
    separate();
    out_ += bracket;
    first_.push_back(true);
    return *this;
  }
  JsonWriter& close(char bracket) {
    out_ += bracket;
    if (!first_.empty()) first_.pop_back();
    return *this;
  }
  JsonWriter& raw(std::string_view text) {
    separate();
    out_ += text;
    return *this;
  }
  void separate() {
    if (afterKey_) {
      afterKey_ = false;
      return;
    }
    if (first_.empty()) return;
    if (!first_.back()) out_ += ',';
    first_.back() = false;
  }
  // Length of the well-formed UTF-8 sequence at text[i], or 0 when it is not one
  // (a cut fixed-size field may end inside a character).
  static size_t utf8SequenceLength(std::string_view text, size_t i) {
    const auto lead = static_cast<unsigned char>(text[i]);
    size_t length = lead < 0x80 ? 1 : (lead & 0xE0) == 0xC0 ? 2 : (lead & 0xF0) == 0xE0 ? 3 : (lead & 0xF8) == 0xF0 ? 4 : 0;
    if (length == 0 || i + length > text.size()) return 0;
    for (size_t k = 1; k < length; ++k) {
      if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return 0;
    }
    return length;
  }

  void appendString(std::string_view text) {
    out_ += '"';
    for (size_t i = 0; i < text.size();) {
      const char c = text[i];
      const auto byte = static_cast<unsigned char>(c);
      if (byte >= 0x80) {
        const size_t length = utf8SequenceLength(text, i);
        if (length == 0) {
          out_ += "\\ufffd";
          ++i;
        } else {
          out_.append(text.substr(i, length));
          i += length;
        }
        continue;
      }
      switch (c) {
        case '"': out_ += "\\\""; break;
        case '\\': out_ += "\\\\"; break;
        case '\n': out_ += "\\n"; break;
        case '\r': out_ += "\\r"; break;
        case '\t': out_ += "\\t"; break;
        default:
          if (byte < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", byte);
            out_ += escape;
          } else {
            out_ += c;
          }
      }
      ++i;
    }
    out_ += '"';
  }

  std::string out_;
  std::vector<bool> first_;
  bool afterKey_ = false;
};

}  // namespace sondrel::tools
