// Loads arbitrary bytes as a tag map; every number and every tag text
// must be looked up safely.
#include <cstring>

#include "model_fuzz_file.h"
#include "vsglex/model.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string &path = vsgfuzz::TempPath("tags.map");
    vsgfuzz::WriteInput(path, data, size);
    POSmap map{};
    if (POSmap_Load(path.c_str(), &map) == 1) {
        char tag[128];
        for (int32_t id = 0; id < 300; ++id) {
            if (POSmap_GetPOS(id, tag, &map) == 1) {
                vsgfuzz::Require(std::strlen(tag) < 100);
                const int32_t found = POSmap_GetID(tag, &map);
                vsgfuzz::Require(found >= -1 && found < map.count);
            } else {
                vsgfuzz::Require(tag[0] == '\0');
            }
        }
        POSmap_GetID("", &map);
    }
    POSmap_Free(&map);
    POSmap_Free(&map);
    return 0;
}
