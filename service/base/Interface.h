// The base of interfaces.
#pragma once

namespace pelacon::service {

/// Can be destroyed as the interface that it implements, and cannot be copied.
class Interface {
  public:
    virtual ~Interface() = default;
    Interface(const Interface&) = delete;
    Interface& operator=(const Interface&) = delete;

  protected:
    Interface() = default;
};

}  // namespace pelacon::service
