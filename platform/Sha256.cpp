#include "platform/Sha256.h"

#include <openssl/sha.h>

QByteArray Sha256(std::span<const std::uint8_t> bytes)
{
    QByteArray hash(SHA256_DIGEST_LENGTH, '\0');
    SHA256(bytes.data(), bytes.size(), reinterpret_cast<unsigned char*>(hash.data()));
    return hash;
}
