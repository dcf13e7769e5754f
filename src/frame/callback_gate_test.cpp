#include "frame/callback_gate.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace sondrel {
namespace {

using namespace std::chrono_literals;
using Gate = CallbackGate<void (*)(int*)>;

std::atomic<bool> slowCallEntered{false};
std::atomic<bool> slowCallFinished{false};
void slowCallback(int* value) {
  slowCallEntered = true;
  std::this_thread::sleep_for(100ms);
  ++*value;
  slowCallFinished = true;
}

TEST(CallbackGate, CloseWaitsForACallInFlightOnAnotherThread) {
  Gate gate(slowCallback);
  int value = 0;
  std::thread caller([&] { gate.invoke(&value); });
  while (!slowCallEntered.load()) std::this_thread::yield();
  gate.close();
  EXPECT_TRUE(slowCallFinished.load()) << "close returned while the callback still ran";
  caller.join();
  EXPECT_FALSE(gate.invoke(&value));
  EXPECT_EQ(value, 1);
}

Gate* selfClosingGate = nullptr;
int selfClosingCalls = 0;
void closesItsOwnGate(int*) {
  ++selfClosingCalls;
  selfClosingGate->close();  // the host unregisters from inside its callback
}

TEST(CallbackGate, ACallbackMayCloseItsOwnGate) {
  Gate gate(closesItsOwnGate);
  selfClosingGate = &gate;
  int unused = 0;
  EXPECT_TRUE(gate.invoke(&unused));
  EXPECT_FALSE(gate.isOpen());
  EXPECT_FALSE(gate.invoke(&unused));
  EXPECT_EQ(selfClosingCalls, 1);
}

void countingCallback(int* value) { ++*value; }

TEST(CallbackGate, ReopensWithANewCallback) {
  Gate gate;
  int value = 0;
  EXPECT_FALSE(gate.invoke(&value));
  gate.open(countingCallback);
  EXPECT_TRUE(gate.invoke(&value));
  gate.close();
  gate.open(countingCallback);
  EXPECT_TRUE(gate.invoke(&value));
  EXPECT_EQ(value, 2);
}

}  // namespace
}  // namespace sondrel
