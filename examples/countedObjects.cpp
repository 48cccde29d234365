// Keeps counted objects under their names: stations of a line, one of them under two names.

#include "kxbase/kxbase.h"

#include <cstdio>

class Station : public kxReference {
public:
    explicit Station(unsigned platforms) : platforms_(platforms) {}
    unsigned platforms() const { return platforms_; }

private:
    unsigned platforms_;
};

int main()
{
    const kxRefPointer<Station> central = kxMakeRef<Station>(12U);
    kxRefDict<kxString, Station, kxStringCompareInterface> stations;
    stations.insert("central", central);
    stations.insert("main", central);
    stations.insert("harbour", kxMakeRef<Station>(2U));  // held by the dictionary alone
    stations.remove("central");                          // the object stays under its other name
    for (const auto& entry : stations)
        std::printf("%s: %u platforms\n", entry.key().text(), entry.value()->platforms());
    const bool isRight = stations.find("harbour") != nullptr && stations.find("central") == nullptr;
    return isRight && central->getReferenceCount() == 2 ? 0 : 1;
}
