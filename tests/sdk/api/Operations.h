// Every operation of the library, in its C form: how to call it, and what docs/operations.md says
// of it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace pelacon::test {

/// Operations with the same lock run one after the other.
struct OperationLock {
    const char* name;
    std::int32_t request;  ///< of the operation that `probe` calls
    std::function<void()> probe;
};
const std::vector<OperationLock>& OperationLocks();

struct ApiOperation {
    const char* name;
    /// Calls it with arguments that it accepts; the result as the document shows it.
    std::function<std::string()> call;
    std::string lock = {};       ///< of OperationLocks, or none
    std::string callbacks = {};  ///< of CallbackKinds: it waits while one of them runs
};

struct ApiFamily {
    const char* heading;
    const char* header;  ///< and its results
    std::vector<ApiOperation> operations;
};
const std::vector<ApiFamily>& ApiFamilies();

/// An operation that the test cannot call as it calls the others, and what the document says of it.
struct SpecialOperation {
    const char* name;
    const char* text;
};
const std::vector<SpecialOperation>& SpecialOperations();

/// Callbacks of one kind of table: their name in the document, and in tests/sdk/Families.h.
struct CallbackKind {
    const char* name;
    const char* family;
};
const std::vector<CallbackKind>& CallbackKinds();

}  // namespace pelacon::test
