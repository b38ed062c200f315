// Random sequences of GATT operations, checked against a model.
#pragma once

namespace pelacon::test {

/// Runs random operations on the given number of threads, each with clients and servers of its own:
/// the threads connect to a simulated device and to this program itself, search, read, write,
/// subscribe, publish, start and stop services, and begin anew. Each result and each callback is
/// compared with a model; a difference fails the test.
void WalkGattRandomly(unsigned threads, unsigned operations, unsigned seed);

}  // namespace pelacon::test
