#ifndef QVSTREET_TESTS_SUPPORT_REFUSAL_H
#define QVSTREET_TESTS_SUPPORT_REFUSAL_H

#include <string>

namespace qvtest {

/// The message of the exception of class `Refused` that `call` throws; "accepted" if it throws none.
template <class Refused, class Call>
std::wstring refusalOf(Call&& call) {
    try {
        call();
    } catch (const Refused& error) {
        return error.message();
    }
    return L"accepted";
}

}  // namespace qvtest

#endif
