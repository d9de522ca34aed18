// Parses arbitrary bytes as a model-set manifest; what parses must format
// back to text that parses to the same entries.
#include <string>
#include <string_view>

#include "model/model_set.h"
#include "model_fuzz_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    vsg::model::Manifest m;
    std::string error;
    if (!vsg::model::ParseManifest(text, &m, &error)) {
        vsgfuzz::Require(!error.empty() && m.files.empty());
        return 0;
    }
    vsgfuzz::Require(m.files.size() <= 1024);
    vsg::model::Manifest back;
    vsgfuzz::Require(vsg::model::ParseManifest(vsg::model::FormatManifest(m), &back, &error));
    vsgfuzz::Require(back.files.size() == m.files.size() && back.producer == m.producer);
    for (size_t i = 0; i < m.files.size(); ++i) {
        const vsg::model::ManifestEntry &a = m.files[i];
        const vsg::model::ManifestEntry &b = back.files[i];
        vsgfuzz::Require(a.name == b.name && a.size == b.size && a.checksum == b.checksum && a.format == b.format);
        vsgfuzz::Require(back.Find(a.name) == &b);
    }
    return 0;
}
