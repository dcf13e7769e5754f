#pragma once
// The record families the agent can follow: their names on the command line
// and in the output, and their registration with the library. One table in
// families.cpp holds all of it.

#include <string>
#include <vector>

namespace sondrel::tools {

struct AgentOptions;
struct SondrelApi;

// Every family name, in registration order.
const std::vector<std::string>& allFamilies();

// Registers the chosen families with the library, and unregisters them in the same order.
void registerFamilies(const SondrelApi& api, const AgentOptions& options);
void unregisterFamilies(const SondrelApi& api, const AgentOptions& options);

}  // namespace sondrel::tools
