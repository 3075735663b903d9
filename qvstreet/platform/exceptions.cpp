#include "qvstreet/platform/exceptions.h"

#include <ostream>

#include "qvstreet/platform/exception_pattern.h"
#include "qvstreet/platform/text.h"

QV_DEFINE_DISPATCH(qvException)

void qvException::serialize_(qvArchive&, unsigned char version) { qf_requireOnlyVersion("qvException", version); }

/// The message in both forms; UTF-8 is made ahead, because `what()` must not fail.
struct qvExceptionWithString::Text {
    std::wstring wide;
    std::string utf8;
};

qvExceptionWithString::qvExceptionWithString(const std::wstring& message) { setText(message); }

void qvExceptionWithString::setText(const std::wstring& message) {
    text_ = message.empty() ? nullptr : std::make_shared<const Text>(Text{message, qfUtf8(message)});
}

void qvExceptionWithString::message_(std::wostream& stream) const { stream << message(); }

const std::wstring& qvExceptionWithString::message() const noexcept {
    static const std::wstring none;
    return text_ ? text_->wide : none;
}

const char* qvExceptionWithString::whatOr_(const char* className) const noexcept {
    return text_ ? text_->utf8.c_str() : className;
}

void qvExceptionWithString::reInit() { text_.reset(); }

QV_DEFINE_DISPATCH(qvExceptionWithString)
QV_DEFINE_WHAT(qvExceptionWithString)

void qvExceptionWithString::serialize_(qvArchive& archive, unsigned char version) {
    qf_requireOnlyVersion("qvExceptionWithString", version);
    std::wstring wide = message();
    archive || wide;
    if (archive.isLoading()) setText(wide);
    qvException::dispatchSerialize(archive);
}

qvInvariantFailure::qvInvariantFailure(const std::wstring& message) : qvExceptionWithString(message) {}
QV_DEFINE_EXCEPTION_CLASS(qvInvariantFailure, qvExceptionWithString, 0x10000001)

void qf_throwInvariantFailure(const wchar_t* what) { throw qvInvariantFailure(what); }

qvArchive::Errors::Errors(const std::wstring& message) : qvExceptionWithString(message) {}
QV_DEFINE_EXCEPTION_CLASS(qvArchive::Errors, qvExceptionWithString, 0x10000100)

namespace {

/// Empty for an object that is about to be loaded.
std::wstring unknownVersionMessage(const std::string& className, int version) {
    if (className.empty()) return std::wstring();
    return L"The archive holds another version of " + std::wstring(className.begin(), className.end()) + L" than " +
           qfStr(version) + L".";
}

}  // namespace

qvArchive::UnknownVersion::UnknownVersion(const std::string& className, int version)
    : Errors(unknownVersionMessage(className, version)), className_(className), version_(version) {}

void qvArchive::UnknownVersion::reInit() {
    Errors::reInit();
    className_.clear();
    version_ = 0;
}

QV_DEFINE_DISPATCH(qvArchive::UnknownVersion)
QV_DEFINE_WHAT(qvArchive::UnknownVersion)
QV_DEFINE_THROWN(qvArchive::UnknownVersion, 0x10000101)

void qvArchive::UnknownVersion::serialize_(qvArchive& archive, unsigned char version) {
    qf_requireOnlyVersion("qvArchive::UnknownVersion", version);
    archive || className_;
    std::int32_t number = version_;
    archive || number;
    version_ = number;
    Errors::dispatchSerialize(archive);
}

qvPel::Errors::Errors(const std::wstring& message) : qvExceptionWithString(message) {}
qvPel::UnboundWindow::UnboundWindow(const std::wstring& message) : Errors(message) {}
qvPel::BadSize::BadSize(const std::wstring& message) : Errors(message) {}
qvPel::SizeMismatch::SizeMismatch(const std::wstring& message) : Errors(message) {}
QV_DEFINE_EXCEPTION_LEVEL(qvPel::Errors, qvExceptionWithString)
QV_DEFINE_EXCEPTION_CLASS(qvPel::UnboundWindow, qvPel::Errors, 0x10000201)
QV_DEFINE_EXCEPTION_CLASS(qvPel::BadSize, qvPel::Errors, 0x10000202)
QV_DEFINE_EXCEPTION_CLASS(qvPel::SizeMismatch, qvPel::Errors, 0x10000203)

qvMatrixErr::Errors::Errors(const std::wstring& message) : qvExceptionWithString(message) {}
qvMatrixErr::Singular::Singular(const std::wstring& message) : Errors(message) {}
QV_DEFINE_EXCEPTION_LEVEL(qvMatrixErr::Errors, qvExceptionWithString)
QV_DEFINE_EXCEPTION_CLASS(qvMatrixErr::Singular, qvMatrixErr::Errors, 0x10000301)

QV_DEFINE_EXCEPTION_CLASS(qvFiltErr::Errors, qvException, 0x10000400)
QV_DEFINE_EXCEPTION_CLASS(qvFiltErr::BadImageSize, qvFiltErr::Errors, 0x10000401)
QV_DEFINE_EXCEPTION_CLASS(qvFiltErr::BadFilterSize, qvFiltErr::Errors, 0x10000402)

qvPeak1dErr::Errors::Errors(const std::wstring& message) : qvExceptionWithString(message) {}
qvPeak1dErr::ImageTooSmall::ImageTooSmall(const std::wstring& message) : Errors(message) {}
QV_DEFINE_EXCEPTION_LEVEL(qvPeak1dErr::Errors, qvExceptionWithString)
QV_DEFINE_EXCEPTION_CLASS(qvPeak1dErr::ImageTooSmall, qvPeak1dErr::Errors, 0x10000501)

qvLSLineFitterErr::Errors::Errors(const std::wstring& message) : qvExceptionWithString(message) {}
qvLSLineFitterErr::UnstableErr::UnstableErr(const std::wstring& message) : Errors(message) {}
QV_DEFINE_EXCEPTION_LEVEL(qvLSLineFitterErr::Errors, qvExceptionWithString)
QV_DEFINE_EXCEPTION_CLASS(qvLSLineFitterErr::UnstableErr, qvLSLineFitterErr::Errors, 0x10000601)
