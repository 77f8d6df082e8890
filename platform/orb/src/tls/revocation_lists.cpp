#include "revocation_lists.h"

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <ctime>
#include <string>

#include "certificate_dates.h"
#include "texts.h"

namespace kelp::orb {

namespace {

using std::chrono::system_clock;

enum class Now { Holds, HasEnded, HasNotBegun };

Now stateOf(const X509_CRL* list) {
    if (X509_cmp_current_time(X509_CRL_get0_lastUpdate(list)) > 0)
        return Now::HasNotBegun;
    const ASN1_TIME* const end = X509_CRL_get0_nextUpdate(list);
    return end != nullptr && X509_cmp_current_time(end) < 0 ? Now::HasEnded : Now::Holds;
}

/// Return all lists of a text; null when there is none or one is damaged.
OwnedRevocationLists readAll(BIO* in) {
    OwnedRevocationLists all(sk_X509_CRL_new_null());
    while (X509_CRL* const list = PEM_read_bio_X509_CRL(in, nullptr, nullptr, nullptr))
        sk_X509_CRL_push(all.get(), list);
    const bool isGood = isEndOfPem() && sk_X509_CRL_num(all.get()) > 0;
    return isGood ? std::move(all) : nullptr;
}

bool isOf(const X509_CRL* list, const X509* authority) {
    return X509_NAME_cmp(X509_CRL_get_issuer(list), X509_get_subject_name(authority)) == 0;
}

bool isSignedBy(X509_CRL* list, const X509* authority) {
    const bool isSigned = X509_CRL_verify(list, X509_get0_pubkey(authority)) == 1;
    ERR_clear_error();
    return isSigned;
}

/// Return why a list cannot be used at any time; empty when it can.
std::string problemOf(X509_CRL* list, const STACK_OF(X509) * authorities) {
    const std::string whose = "a revocation list of " + inWords(X509_CRL_get_issuer(list));
    if (X509_CRL_get_ext_by_NID(list, NID_delta_crl, -1) >= 0)
        return whose + " that holds changes alone (a delta list)";
    bool isKnown = false;
    for (int i = 0; i < sk_X509_num(authorities); ++i) {
        const X509* const authority = sk_X509_value(authorities, i);
        if (!isOf(list, authority))
            continue;
        isKnown = true;
        if (isSignedBy(list, authority))
            return {};
    }
    return isKnown ? whose + " that this authority has not signed"
                   : whose + ", which is none of the trusted authorities";
}

/// Return why the authority has no list that is valid now; empty when it has one.
std::string missingListOf(X509* authority, const STACK_OF(X509_CRL) * lists) {
    const std::string name = inWords(X509_get_subject_name(authority));
    if ((X509_get_key_usage(authority) & KU_CRL_SIGN) == 0)
        return "is no use for " + name +
               ", whose certificate does not let it sign revocation lists";
    std::string whyNot =
        "holds no revocation list of " + name + ", which is one of the trusted authorities";
    for (int i = 0; i < sk_X509_CRL_num(lists); ++i) {
        X509_CRL* const list = sk_X509_CRL_value(lists, i);
        if (!isOf(list, authority) || !isSignedBy(list, authority))
            continue;
        const Now now = stateOf(list);
        if (now == Now::Holds)
            return {};
        whyNot = "holds a revocation list of " + name +
                 (now == Now::HasEnded
                      ? " that has ended at " + inWords(X509_CRL_get0_nextUpdate(list))
                      : " that is not valid before " + inWords(X509_CRL_get0_lastUpdate(list)));
    }
    return whyNot;
}

/// Return the lists that are valid now. The file may also hold older ones of the same authority.
OwnedRevocationLists holding(OwnedRevocationLists all) {
    OwnedRevocationLists now(sk_X509_CRL_new_null());
    while (X509_CRL* const next = sk_X509_CRL_shift(all.get())) {
        OwnedRevocationList list(next);
        if (stateOf(list.get()) == Now::Holds && sk_X509_CRL_push(now.get(), list.get()) > 0)
            static_cast<void>(list.release());
    }
    return now;
}

}  // namespace

OwnedRevocationLists readRevocationLists(PemFile& file, const STACK_OF(X509) * authorities) {
    if (!file.isRead())
        return nullptr;
    OwnedRevocationLists all = readAll(file.open().get());
    const bool isAtTheEnd = isEndOfPem();
    const std::string why = tlsErrorText();
    if (!all) {
        file.wrong(isAtTheEnd ? "holds no PEM revocation list"
                              : "holds a damaged revocation list: " + why);
        return nullptr;
    }
    bool isGood = true;
    const auto wrong = [&](const std::string& what) {
        file.wrong(what);
        isGood = false;
    };
    for (int i = 0; i < sk_X509_CRL_num(all.get()); ++i) {
        if (const std::string what = problemOf(sk_X509_CRL_value(all.get(), i), authorities);
            !what.empty())
            wrong("holds " + what);
    }
    for (int i = 0; isGood && i < sk_X509_num(authorities); ++i) {
        X509* const authority = sk_X509_value(authorities, i);
        if (const std::string what = missingListOf(authority, all.get());
            !what.empty() && !hasEnded(authority))
            wrong(what);
    }
    return isGood ? holding(std::move(all)) : nullptr;
}

bool isSame(const STACK_OF(X509_CRL) * one, const STACK_OF(X509_CRL) * other) {
    // a null stack has the size -1
    if (sk_X509_CRL_num(one) != sk_X509_CRL_num(other))
        return false;
    for (int i = 0; i < sk_X509_CRL_num(one); ++i) {
        if (X509_CRL_match(sk_X509_CRL_value(one, i), sk_X509_CRL_value(other, i)) != 0)
            return false;
    }
    return true;
}

std::vector<RevocationListEnd> revocationListEnds(const std::string& crlFile) {
    std::vector<TlsFileProblem> problems;
    const PemFile file(crlFile, TlsFileProblem::Of::RevocationLists, problems);
    const OwnedRevocationLists lists = file.isRead() ? readAll(file.open().get()) : nullptr;
    // leave no error behind for the next caller of the library
    ERR_clear_error();
    std::vector<RevocationListEnd> ends;
    for (int i = 0; i < sk_X509_CRL_num(lists.get()); ++i) {
        const X509_CRL* const list = sk_X509_CRL_value(lists.get(), i);
        RevocationListEnd& each = ends.emplace_back();
        each.authority = inWords(X509_CRL_get_issuer(list));
        std::tm parts{};
        if (const ASN1_TIME* const end = X509_CRL_get0_nextUpdate(list);
            end != nullptr && ASN1_TIME_to_tm(end, &parts) == 1)
            each.end = system_clock::from_time_t(::timegm(&parts));
    }
    return ends;
}

}  // namespace kelp::orb
