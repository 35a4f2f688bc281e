#include <md5.h>

#include <array>

#include "foundation/text.h"

namespace qsml {

String md5Hash(std::string_view text) {
    MD5_CTX context;
    MD5Init(&context);
    MD5Update(&context, reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    std::array<std::uint8_t, MD5_DIGEST_LENGTH> digest{};
    MD5Final(digest.data(), &context);
    return String::build(digest.size() * 2, [&digest](char* out) {
        for (const unsigned byte : digest) {
            *out++ = "0123456789abcdef"[byte >> 4];
            *out++ = "0123456789abcdef"[byte & 0x0F];
        }
    });
}

}  // namespace qsml
