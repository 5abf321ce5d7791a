// ports/recipe_signature.h: who has signed a port description. Any thread.
//
// The signature lies in the description itself, under keys that readers without signatures pass over: "Author Key"
// (the Ed25519 key, 32 bytes) and "Author Signature" (64 bytes). It covers every value as it is read, the author's
// key included, whatever the order of the keys and the form of the archive.
#pragma once

#include <string>

#include "platform/result.h"
#include "platform/signatures.h"
#include "platform/value.h"

namespace morvane::recipe_signature {

enum class State {
    none,     ///< nobody has signed it
    valid,    ///< the owner of the key has, and nothing was changed since
    invalid,  ///< changed after it was signed, or never signed with that key
};
struct Signature {
    State state = State::none;
    std::string key;  ///< of the author, in hexadecimal; empty with `none`, and when there is none to read
};

[[nodiscard]] Signature signatureOf(const Dictionary& description);
/// Who has signed it, or that nobody did, as a sentence for the user.
[[nodiscard]] std::string sentenceOf(const Signature& signature);
/// The archive of the description with the signature, in place of any that it had. Refused as by
/// `typed_stream::archive`.
[[nodiscard]] Result<std::string> signedArchive(const signatures::PrivateKey& key,
                                                const Dictionary& description);

}  // namespace morvane::recipe_signature
