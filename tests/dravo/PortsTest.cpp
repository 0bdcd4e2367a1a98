// Ports and callbacks without a file.
#include "dravo/PortCallbacks.h"
#include "dravo/PortTable.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using dravo::PortCallbacks;
using dravo::PortTable;

TEST(PortTable, NumbersPortsFromOneAndHoldsAtLeast64) {
    PortTable table;
    std::set<int> numbers;
    for (int port = 0; port < 64; ++port)
        numbers.insert(table.Take());
    EXPECT_EQ(numbers.size(), 64U);
    EXPECT_EQ(*numbers.begin(), 1);
}

TEST(PortTable, RefusesMoreThanItHolds) {
    PortTable table;
    for (int port = 0; port < PortTable::kSlots; ++port)
        ASSERT_NE(table.Take(), 0);
    EXPECT_EQ(table.Take(), 0);
}

TEST(PortTable, NeverLetsAStaleNumberNameSomebodyElsesPort) {
    PortTable table;
    const int first = table.Take();
    EXPECT_TRUE(table.Free(first));
    EXPECT_FALSE(table.Free(first));
    const int second = table.Take();
    EXPECT_NE(second, first);
    EXPECT_EQ(table.Find(first), nullptr);
    EXPECT_NE(table.Find(second), nullptr);
    EXPECT_FALSE(table.Free(first));
    EXPECT_NE(table.Find(second), nullptr);
}

TEST(PortTable, FindsNothingUnderImpossibleNumbers) {
    PortTable table;
    for (const int number : {0, -1, -256, 1, 257, 2147483647})
        EXPECT_EQ(table.Find(number), nullptr) << number;
}

struct Calls {
    int count = 0;
    int port = 0;
    bool inside = false;
};

void CountFileEnd(int port, void* user) {
    auto* calls = static_cast<Calls*>(user);
    ++calls->count;
    calls->port = port;
    calls->inside = PortCallbacks::InsideCallback();
}

TEST(PortCallbacks, CallsWithThePortAndTheUserAndMarksTheThread) {
    PortCallbacks callbacks(7);
    Calls calls;
    callbacks.CallFileEnd();
    callbacks.SetFileEnd(CountFileEnd, &calls);
    EXPECT_FALSE(PortCallbacks::InsideCallback());
    callbacks.CallFileEnd();
    EXPECT_EQ(calls.count, 1);
    EXPECT_EQ(calls.port, 7);
    EXPECT_TRUE(calls.inside);
    EXPECT_FALSE(PortCallbacks::InsideCallback());
    callbacks.SetFileEnd(nullptr, nullptr);
    callbacks.CallFileEnd();
    EXPECT_EQ(calls.count, 1);
}

} // namespace
