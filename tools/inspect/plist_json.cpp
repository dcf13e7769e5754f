#include "inspect/plist_json.h"

#include <cmath>
#include <ctime>

namespace sondrel::tools {

namespace {

std::string base64(const PlistData& data) {
  static constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  out.reserve((data.size() + 2) / 3 * 4);
  for (size_t i = 0; i < data.size(); i += 3) {
    const uint32_t chunk = (uint32_t{data[i]} << 16) | (i + 1 < data.size() ? uint32_t{data[i + 1]} << 8 : 0) |
                           (i + 2 < data.size() ? uint32_t{data[i + 2]} : 0);
    out += kAlphabet[(chunk >> 18) & 63];
    out += kAlphabet[(chunk >> 12) & 63];
    out += i + 1 < data.size() ? kAlphabet[(chunk >> 6) & 63] : '=';
    out += i + 2 < data.size() ? kAlphabet[chunk & 63] : '=';
  }
  return out;
}

std::string isoDate(const PlistDate& date) {
  const auto seconds = static_cast<time_t>(std::floor(date.secondsSince1970));
  tm parts{};
  gmtime_r(&seconds, &parts);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text;
}

}  // namespace

void writePlistJson(JsonWriter& json, const PlistValue& value) {
  struct Writer {
    JsonWriter& json;
    void operator()(bool flag) const { json.value(flag); }
    void operator()(int64_t number) const { json.value(number); }
    void operator()(double number) const { json.value(number); }
    void operator()(const std::string& text) const { json.value(std::string_view(text)); }
    void operator()(const PlistData& data) const { json.value(std::string_view(base64(data))); }
    void operator()(const PlistDate& date) const { json.value(std::string_view(isoDate(date))); }
    void operator()(const PlistArray& items) const {
      json.beginArray();
      for (const auto& item : items) writePlistJson(json, item);
      json.endArray();
    }
    void operator()(const PlistDictionary& entries) const {
      json.beginObject();
      for (const auto& [key, item] : entries) {
        json.key(key);
        writePlistJson(json, item);
      }
      json.endObject();
    }
  };
  std::visit(Writer{json}, value.value);
}

}  // namespace sondrel::tools
