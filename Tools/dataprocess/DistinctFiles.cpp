#include "DistinctFiles.h"

#include "HostFile.h"
#include "ToolErrors.h"

namespace dptool {

void CheckDistinctFiles(const std::vector<NamedPath>& inputs, const std::vector<NamedPath>& outputs)
{
    std::vector<std::string> in, out;
    for (const NamedPath& p : inputs)
        in.push_back(HostFileIdentity(p.path));
    for (const NamedPath& p : outputs)
        out.push_back(HostFileIdentity(p.path));
    for (size_t o = 0; o < outputs.size(); ++o) {
        if (out[o].empty())
            continue;
        for (size_t i = 0; i < inputs.size(); ++i)
            if (out[o] == in[i])
                throw UsageError(outputs[o].option + " " + outputs[o].path + ": that is the " + inputs[i].option +
                                 " file " + inputs[i].path + "; writing it would destroy it");
        for (size_t p = 0; p < o; ++p)
            if (out[o] == out[p])
                throw UsageError(outputs[o].option + " " + outputs[o].path + ": the same file as " +
                                 outputs[p].option + " " + outputs[p].path);
    }
}

} // namespace dptool
