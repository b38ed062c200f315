#include <service/families/AdapterFamily.h>
#include <service/families/AdvertiserFamily.h>
#include <service/families/ErrorFamily.h>
#include <service/families/GattClientFamily.h>
#include <service/families/GattServerFamily.h>
#include <service/families/GroupFamily.h>
#include <service/families/ScanFamily.h>
#include <service/families/SoftApFamily.h>
#include <service/families/TargetAdvFamily.h>
#include <service/families/WifiConfigFamily.h>
#include <service/families/WifiStateFamily.h>

namespace pelacon::service {

std::vector<std::unique_ptr<Family>> MakeFamilies(Context& context)
{
    std::vector<std::unique_ptr<Family>> families;
    families.push_back(std::make_unique<AdapterFamily>(context));
    families.push_back(std::make_unique<ScanFamily>(context));
    families.push_back(std::make_unique<AdvertiserFamily>(context));
    families.push_back(std::make_unique<TargetAdvFamily>(context));
    families.push_back(std::make_unique<GattClientFamily>(context));
    families.push_back(std::make_unique<GattServerFamily>(context));
    families.push_back(std::make_unique<GroupFamily>(context));
    families.push_back(std::make_unique<WifiConfigFamily>(context));
    families.push_back(std::make_unique<SoftApFamily>(context));
    families.push_back(std::make_unique<WifiStateFamily>(context));
    families.push_back(std::make_unique<ErrorFamily>(context));
    return families;
}

}  // namespace pelacon::service
