// Random sequences of GATT operations, checked against a model.
#pragma once

namespace pelacon::test {

/// So many threads do so many operations each, on clients and servers of their own: they connect to
/// a simulated device and to this program itself, search, read, write, subscribe, publish, start
/// and stop services, and begin anew. Every result and everything that callbacks tell is compared
/// with what a model says. Fails the test where they differ.
void WalkGattRandomly(unsigned threads, unsigned operations, unsigned seed);

}  // namespace pelacon::test
