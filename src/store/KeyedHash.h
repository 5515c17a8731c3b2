#pragma once

#include <array>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "CardSeal.h"

typedef struct evp_md_ctx_st EVP_MD_CTX;

// HMAC-SHA256 (RFC 2104) under one key, cut to its first 128 bits and written in 32 hexadecimal
// digits: the seals of the cards and the links of their movement ledgers. 128 bits are beyond
// guessing, and the rows that carry them stay short.
//
// SHA-256 of (key ^ opad) and of (key ^ ipad) are kept after their key block, so a hash costs the
// message's blocks and one more, run with the processor's SHA instructions where it has them.
// One connection (one thread) uses a keyed hash at a time.
namespace ormex::db {

class KeyedHash
{
public:
    static constexpr std::size_t kBytes = 16;
    using Text = std::array<char, 2 * kBytes + 1>; // the hexadecimal digits and a terminating zero

    explicit KeyedHash(const SealKey& key);
    ~KeyedHash();
    KeyedHash(const KeyedHash&) = delete;
    KeyedHash& operator=(const KeyedHash&) = delete;

    // The hash of the pieces, each after the first preceded by the unit separator (0x1f). Throws
    // DbError when the library fails.
    void hash(std::span<const std::string_view> pieces, Text& out) const;
    void hash(std::initializer_list<std::string_view> pieces, Text& out) const
    {
        hash(std::span<const std::string_view>(pieces.begin(), pieces.size()), out);
    }
    std::string hash(std::span<const std::string_view> pieces) const;
    std::string hash(std::initializer_list<std::string_view> pieces) const
    {
        return hash(std::span<const std::string_view>(pieces.begin(), pieces.size()));
    }

private:
    struct Free
    {
        void operator()(EVP_MD_CTX* context) const;
    };
    using Context = std::unique_ptr<EVP_MD_CTX, Free>;
    Context m_inner, m_outer, m_work;
};

// Bytes as lowercase hexadecimal digits.
std::string hexText(const unsigned char* bytes, std::size_t count);

// Compares two hashes in a time that does not depend on where they differ.
bool sameHash(std::string_view a, std::string_view b);

} // namespace ormex::db
