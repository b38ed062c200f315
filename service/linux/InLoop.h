// An object that lives in the loop's thread and is used from others.
#pragma once

#include <service/linux/Loop.h>

#include <functional>
#include <memory>
#include <utility>

namespace pelacon::service::linux_radios {

/// Creates, uses and destroys an object in the loop's thread, in the order of the calls here. None
/// of them waits. Must be destroyed before the loop stops.
template <typename Object>
class InLoop {
  public:
    using Make = std::function<std::unique_ptr<Object>()>;

    InLoop(Loop& loop, Make make) : loop_(loop)
    {
        loop_.Post([object = object_, make = std::move(make)] { *object = make(); });
    }
    ~InLoop()
    {
        loop_.Post([object = std::move(object_)] { object->reset(); });
    }
    InLoop(const InLoop&) = delete;
    InLoop& operator=(const InLoop&) = delete;

    /// Posts a call of `use` with the object; nothing is called if the object could not be created.
    template <typename Use>
    void Post(Use use) const
    {
        loop_.Post([object = object_, use = std::move(use)] {
            if (*object) {
                use(**object);
            }
        });
    }

    /// Creates an object that uses this one and is destroyed before it; `make` is called with this
    /// one.
    template <typename Other, typename MakeOther>
    std::unique_ptr<InLoop<Other>> Create(MakeOther make) const
    {
        return std::make_unique<InLoop<Other>>(loop_, [object = object_, make = std::move(make)] {
            // Null if this one could not be created.
            return *object ? make(**object) : nullptr;
        });
    }

  private:
    Loop& loop_;
    // Null before the object is created; used in the loop's thread only.
    std::shared_ptr<std::unique_ptr<Object>> object_ = std::make_shared<std::unique_ptr<Object>>();
};

}  // namespace pelacon::service::linux_radios
