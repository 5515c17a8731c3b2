#include "KeyedHash.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include "sql/DbError.h"

namespace ormex::db {

namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

void writeHex(const unsigned char* bytes, std::size_t count, char* out)
{
    for (std::size_t i = 0; i < count; ++i) {
        out[2 * i] = kHexDigits[bytes[i] >> 4];
        out[2 * i + 1] = kHexDigits[bytes[i] & 15];
    }
    out[2 * count] = '\0';
}

} // namespace

void KeyedHash::Free::operator()(EVP_MD_CTX* context) const
{
    EVP_MD_CTX_free(context);
}

KeyedHash::KeyedHash(const SealKey& key)
    : m_inner(EVP_MD_CTX_new()), m_outer(EVP_MD_CTX_new()), m_work(EVP_MD_CTX_new())
{
    if (!m_inner || !m_outer || !m_work) throw DbError("cannot make the keyed hash");
    unsigned char inner[64];
    unsigned char outer[64];
    for (std::size_t i = 0; i < 64; ++i) {
        const unsigned char k = i < key.size() ? key[i] : 0;
        inner[i] = k ^ 0x36;
        outer[i] = k ^ 0x5c;
    }
    if (EVP_DigestInit_ex(m_inner.get(), EVP_sha256(), nullptr) != 1 ||
        EVP_DigestUpdate(m_inner.get(), inner, sizeof inner) != 1 ||
        EVP_DigestInit_ex(m_outer.get(), EVP_sha256(), nullptr) != 1 ||
        EVP_DigestUpdate(m_outer.get(), outer, sizeof outer) != 1)
        throw DbError("cannot make the keyed hash");
    OPENSSL_cleanse(inner, sizeof inner);
    OPENSSL_cleanse(outer, sizeof outer);
}

KeyedHash::~KeyedHash() = default;

void KeyedHash::hash(std::span<const std::string_view> pieces, Text& out) const
{
    EVP_MD_CTX* work = m_work.get();
    const char separator = 0x1f;
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    bool ok = EVP_MD_CTX_copy_ex(work, m_inner.get()) == 1;
    bool first = true;
    for (std::string_view piece : pieces) {
        if (!first) ok = ok && EVP_DigestUpdate(work, &separator, 1) == 1;
        first = false;
        ok = ok && EVP_DigestUpdate(work, piece.data(), piece.size()) == 1;
    }
    ok = ok && EVP_DigestFinal_ex(work, digest, &length) == 1 &&
         EVP_MD_CTX_copy_ex(work, m_outer.get()) == 1 && EVP_DigestUpdate(work, digest, length) == 1 &&
         EVP_DigestFinal_ex(work, digest, &length) == 1;
    if (!ok) throw DbError("the keyed hash could not be computed");
    writeHex(digest, kBytes, out.data());
}

std::string KeyedHash::hash(std::span<const std::string_view> pieces) const
{
    Text text;
    hash(pieces, text);
    return std::string(text.data(), text.size() - 1);
}

std::string hexText(const unsigned char* bytes, std::size_t count)
{
    std::string text(2 * count + 1, '\0');
    writeHex(bytes, count, text.data());
    text.pop_back();
    return text;
}

bool sameHash(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && CRYPTO_memcmp(a.data(), b.data(), a.size()) == 0;
}

} // namespace ormex::db
