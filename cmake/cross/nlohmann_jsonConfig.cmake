include("${CMAKE_CURRENT_LIST_DIR}/HostHeaders.cmake")
pelacon_host_headers(nlohmann_json::nlohmann_json nlohmann)
