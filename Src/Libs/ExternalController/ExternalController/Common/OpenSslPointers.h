#pragma once

#include <openssl/bio.h>
#include <openssl/evp.h>

#include <memory>

/// Deletes an object of OpenSSL with its function Free.
template <auto Free>
struct SOpenSslDeleter {
    template <class Object>
    void operator()(Object* object) const
    {
        Free(object);
    }
};

using BioPtr = std::unique_ptr<BIO, SOpenSslDeleter<&BIO_free_all>>;
using EvpKeyPtr = std::unique_ptr<EVP_PKEY, SOpenSslDeleter<&EVP_PKEY_free>>;
using EvpContextPtr = std::unique_ptr<EVP_PKEY_CTX, SOpenSslDeleter<&EVP_PKEY_CTX_free>>;
