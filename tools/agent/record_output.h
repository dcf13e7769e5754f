#pragma once
// The agent's output: one JSON object per record on standard output, log
// lines on standard error, each written whole whichever thread calls.

#include <cstdio>
#include <functional>
#include <string>

#include "agent/record_writers.h"

namespace sondrel::tools {

void emitLine(const std::string& line, std::FILE* stream);

// {"family":…,"time":<ms since 1970>,"record":…} with the record that writeRecordBody writes.
void emitEnvelope(const char* family, const std::function<void(JsonWriter&)>& writeRecordBody);

// A record of a family whose record the header lays out; null stays null.
template <typename Record>
void emitRecord(const char* family, const Record* record) {
  emitEnvelope(family, [record](JsonWriter& json) {
    if (record == nullptr) {
      json.null();
    } else {
      writeRecord(json, *record);
    }
  });
}

// Families whose records the header does not lay out yet: the agent can only
// say that one arrived.
void emitOpaqueRecord(const char* family);

}  // namespace sondrel::tools
