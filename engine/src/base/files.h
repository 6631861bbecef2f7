// Small files, read and written whole. The results are errno's: 0 where all went well.
#ifndef TNX_ENGINE_FILES_H
#define TNX_ENGINE_FILES_H

#include <cstddef>
#include <string>
#include <string_view>

namespace OHOS::Pelloria::Tnx
{

// Only regular files of at most `most` bytes: others might have no end, or never begin.
int ReadWholeFile(const std::string &path, size_t most, std::string &text);

// Puts a text in the place of a file, or makes it, for its owner only. Whoever reads it meanwhile,
// or after a crash, finds the old one whole or the new one. Symbolic links stay, and lead to it.
int ReplaceFile(const std::string &path, std::string_view text);

} // namespace OHOS::Pelloria::Tnx

#endif
