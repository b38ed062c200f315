#include <service/families/AdapterFamily.h>
#include <service/families/ErrorFamily.h>
#include <service/families/Families.h>

namespace pelacon::service {

std::vector<std::unique_ptr<Family>> MakeFamilies(Context& context)
{
    std::vector<std::unique_ptr<Family>> families;
    families.push_back(std::make_unique<AdapterFamily>(context));
    families.push_back(std::make_unique<ErrorFamily>(context));
    return families;
}

}  // namespace pelacon::service
