#include <service/core/Router.h>

#include <algorithm>
#include <stdexcept>
#include <string>

namespace pelacon::service {

void Router::Add(std::int32_t id, Route route)
{
    std::vector<Route>& routes = routes_[id];
    const bool taken = std::any_of(routes.begin(), routes.end(), [&](const Route& other) {
        return other.requestSize == route.requestSize;
    });
    if (taken) {
        throw std::logic_error(std::string("served twice: ") + route.name);
    }
    const auto place = std::find_if(routes.begin(), routes.end(), [&](const Route& other) {
        return other.requestSize < route.requestSize;
    });
    routes.insert(place, std::move(route));
}

const Router::Route* Router::Find(std::int32_t id, std::size_t payloadLength) const
{
    const auto found = routes_.find(id);
    if (found == routes_.end()) {
        return nullptr;
    }
    const std::vector<Route>& routes = found->second;
    for (const Route& route : routes) {
        if (route.requestSize == payloadLength) {
            return &route;
        }
    }
    return &routes.front();
}

}  // namespace pelacon::service
