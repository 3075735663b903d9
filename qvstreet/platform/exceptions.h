/// @file
/// The exceptions of the whole library: the common roots, and the error scopes of the platform layer.
///
/// Every failure that a caller can cause is one of these classes or of a tool's own family built on them. All of them
/// can be caught as `qvException` and as `std::exception`, and go through a `qvArchive`.
///
/// Error numbers of the platform layer. A scope's own `Errors`, where it can be thrown, ends in 00.
///
/// | Number     | Class                           |
/// |------------|---------------------------------|
/// | 0x10000001 | qvInvariantFailure              |
/// | 0x10000100 | qvArchive::Errors               |
/// | 0x10000101 | qvArchive::UnknownVersion       |
/// | 0x10000201 | qvPel::UnboundWindow            |
/// | 0x10000202 | qvPel::BadSize                  |
/// | 0x10000203 | qvPel::SizeMismatch             |
/// | 0x10000301 | qvMatrixErr::Singular           |
/// | 0x10000400 | qvFiltErr::Errors               |
/// | 0x10000401 | qvFiltErr::BadImageSize         |
/// | 0x10000402 | qvFiltErr::BadFilterSize        |
/// | 0x10000501 | qvPeak1dErr::ImageTooSmall      |
/// | 0x10000601 | qvLSLineFitterErr::UnstableErr  |
#ifndef QVSTREET_PLATFORM_EXCEPTIONS_H
#define QVSTREET_PLATFORM_EXCEPTIONS_H

#include <exception>
#include <iosfwd>
#include <memory>
#include <string>

#include "qvstreet/platform/export.h"
#include "qvstreet/platform/persistent.h"

/// Declares what every level of an exception family has, abstract ones included. The bodies come from
/// `qvstreet/platform/exception_pattern.h`.
#define QV_EXCEPTION_LEVEL(ClassName)                    \
 public:                                                 \
    ClassName(const ClassName&) = default;               \
    ClassName& operator=(const ClassName&) = default;    \
    ~ClassName() override = default;                     \
    const char* what() const noexcept override;          \
                                                         \
 protected:                                              \
    void dispatchSerialize(qvArchive& archive) override; \
    void serialize_(qvArchive& archive, unsigned char version);

/// Declares what a class that is thrown has on top: its number, its way out of the heap, its factory and its exemplar.
#define QV_EXCEPTION_CLASS(ClassName)               \
    QV_EXCEPTION_LEVEL(ClassName)                   \
 public:                                            \
    long errorNumber() const override;              \
    [[noreturn]] void suicideAndRethrow() override; \
                                                    \
 private:                                           \
    static qvPersistent* make();                    \
    static qv_Instantiator sExemplar;

/// Root of all exceptions of the library.
///
/// A class without a message overrides `what()` with its name. (The override does not stand here, so that `what()`
/// comes behind `message_` in the virtual table of every class.)
class QV_EXPORT qvException : public qvPersistent, public std::exception {
 public:
    qvException(const qvException&) = default;
    qvException& operator=(const qvException&) = default;
    ~qvException() override = default;

    /// The number of the class, unique in the library.
    virtual long errorNumber() const = 0;

    /// For an exception object on the heap: copies it, deletes it and throws the copy, so that its type is kept.
    virtual void suicideAndRethrow() = 0;

 protected:
    qvException() = default;
    void dispatchSerialize(qvArchive& archive) override;
    void serialize_(qvArchive& archive, unsigned char version);

    /// What `what()` answers in a class without a message.
    static const char* whatOr_(const char* className) noexcept { return className; }
};

/// An exception with a message. Copies share the message, so copying never fails.
class QV_EXPORT qvExceptionWithString : public qvException {
 public:
    qvExceptionWithString(const qvExceptionWithString&) = default;
    qvExceptionWithString& operator=(const qvExceptionWithString&) = default;
    ~qvExceptionWithString() override = default;

    /// Writes the message to a wide stream.
    virtual void message_(std::wostream& stream) const;

    /// The message as UTF-8, or the class name if the message is empty. A code unit that is no character comes out as
    /// U+FFFD.
    const char* what() const noexcept override;

    /// The message; empty if there is none.
    const std::wstring& message() const noexcept;

 protected:
    /// With an empty message `what()` answers the class name.
    explicit qvExceptionWithString(const std::wstring& message = std::wstring());
    void dispatchSerialize(qvArchive& archive) override;
    void serialize_(qvArchive& archive, unsigned char version);
    void reInit() override;

    /// What `what()` answers in a class of that name.
    const char* whatOr_(const char* className) const noexcept;

 private:
    struct Text;
    void setText(const std::wstring& message);

    /// Null for an empty message.
    std::shared_ptr<const Text> text_;
};

/// A broken promise inside the library. The host survives it; the call that raised it has no result.
class QV_EXPORT qvInvariantFailure : public qvExceptionWithString {
    QV_EXCEPTION_CLASS(qvInvariantFailure)
 public:
    /// With an empty message `what()` answers the class name.
    explicit qvInvariantFailure(const std::wstring& message = std::wstring());
};

/// Throws `qvInvariantFailure` with that message.
[[noreturn]] QV_EXPORT void qf_throwInvariantFailure(const wchar_t* what);

/// Checks a promise of the library to itself, in every build. Throws `qvInvariantFailure` with the message `what` if it
/// does not hold.
inline void qf_assert(bool promise, const wchar_t* what) {
    if (!promise) qf_throwInvariantFailure(what);
}

/// An archive that cannot be read or written: truncated, foreign, used against its direction, or its stream failed.
/// Base of the archive's other errors.
class QV_EXPORT qvArchive::Errors : public qvExceptionWithString {
    QV_EXCEPTION_CLASS(Errors)
 public:
    /// With an empty message `what()` answers the class name.
    explicit Errors(const std::wstring& message = std::wstring());
};

/// An archive holds a class in a version that this library does not know.
class QV_EXPORT qvArchive::UnknownVersion : public qvArchive::Errors {
    QV_EXCEPTION_CLASS(UnknownVersion)
 public:
    /// @param className  qualified name of the class whose record it is
    /// @param version    the newest version that this library knows
    explicit UnknownVersion(const std::string& className = std::string(), int version = 0);

    /// Qualified name of the class whose record could not be read.
    const std::string& className() const noexcept { return className_; }

    /// The newest version of that class that this library knows.
    int version() const noexcept { return version_; }

 protected:
    void reInit() override;

 private:
    std::string className_;
    int version_;
};

/// Scope of the errors of pel buffers and pel operations.
class QV_EXPORT qvPel {
 public:
    class Errors;
    class UnboundWindow;
    class BadSize;
    class SizeMismatch;
};

/// Base of the pel errors.
class QV_EXPORT qvPel::Errors : public qvExceptionWithString {
    QV_EXCEPTION_LEVEL(Errors)
 protected:
    /// With an empty message `what()` answers the class name.
    explicit Errors(const std::wstring& message = std::wstring());
};

/// The buffer has no pels.
class QV_EXPORT qvPel::UnboundWindow : public qvPel::Errors {
    QV_EXCEPTION_CLASS(UnboundWindow)
 public:
    /// With an empty message `what()` answers the class name.
    explicit UnboundWindow(const std::wstring& message = std::wstring());
};

/// A width, height, row distance or sample count that no buffer can have.
class QV_EXPORT qvPel::BadSize : public qvPel::Errors {
    QV_EXCEPTION_CLASS(BadSize)
 public:
    /// With an empty message `what()` answers the class name.
    explicit BadSize(const std::wstring& message = std::wstring());
};

/// Buffers of one operation differ in size.
class QV_EXPORT qvPel::SizeMismatch : public qvPel::Errors {
    QV_EXCEPTION_CLASS(SizeMismatch)
 public:
    /// With an empty message `what()` answers the class name.
    explicit SizeMismatch(const std::wstring& message = std::wstring());
};

/// Scope of the errors of matrices and transforms.
class QV_EXPORT qvMatrixErr {
 public:
    class Errors;
    class Singular;
};

/// Base of the matrix errors.
class QV_EXPORT qvMatrixErr::Errors : public qvExceptionWithString {
    QV_EXCEPTION_LEVEL(Errors)
 protected:
    /// With an empty message `what()` answers the class name.
    explicit Errors(const std::wstring& message = std::wstring());
};

/// The matrix has no inverse: a pivot is 0 or not finite.
class QV_EXPORT qvMatrixErr::Singular : public qvMatrixErr::Errors {
    QV_EXCEPTION_CLASS(Singular)
 public:
    /// With an empty message `what()` answers the class name.
    explicit Singular(const std::wstring& message = std::wstring());
};

/// Scope of the errors of the one-dimensional filters. They carry no message.
class QV_EXPORT qvFiltErr {
 public:
    class Errors;
    class BadImageSize;
    class BadFilterSize;
};

/// Base of the filter errors.
class QV_EXPORT qvFiltErr::Errors : public qvException {
    QV_EXCEPTION_CLASS(Errors)
 public:
    Errors() = default;
};

/// The source is unbound, has more than one row, or is not wider than the kernel.
class QV_EXPORT qvFiltErr::BadImageSize : public qvFiltErr::Errors {
    QV_EXCEPTION_CLASS(BadImageSize)
 public:
    BadImageSize() = default;
};

/// A kernel of a size that cannot be applied. No operation of the library raises it.
class QV_EXPORT qvFiltErr::BadFilterSize : public qvFiltErr::Errors {
    QV_EXCEPTION_CLASS(BadFilterSize)
 public:
    BadFilterSize() = default;
};

/// Scope of the errors of the peak search on a profile.
class QV_EXPORT qvPeak1dErr {
 public:
    class Errors;
    class ImageTooSmall;
};

/// Base of the peak search errors.
class QV_EXPORT qvPeak1dErr::Errors : public qvExceptionWithString {
    QV_EXCEPTION_LEVEL(Errors)
 protected:
    /// With an empty message `what()` answers the class name.
    explicit Errors(const std::wstring& message = std::wstring());
};

/// The profile has fewer than 3 values.
class QV_EXPORT qvPeak1dErr::ImageTooSmall : public qvPeak1dErr::Errors {
    QV_EXCEPTION_CLASS(ImageTooSmall)
 public:
    /// With an empty message `what()` answers the class name.
    explicit ImageTooSmall(const std::wstring& message = std::wstring());
};

/// Scope of the errors of the line fitter, which names them as its own.
class QV_EXPORT qvLSLineFitterErr {
 public:
    class Errors;
    class UnstableErr;
};

/// Base of the line fitter errors.
class QV_EXPORT qvLSLineFitterErr::Errors : public qvExceptionWithString {
    QV_EXCEPTION_LEVEL(Errors)
 protected:
    /// With an empty message `what()` answers the class name.
    explicit Errors(const std::wstring& message = std::wstring());
};

/// Fewer than two distinct points: they determine no line.
class QV_EXPORT qvLSLineFitterErr::UnstableErr : public qvLSLineFitterErr::Errors {
    QV_EXCEPTION_CLASS(UnstableErr)
 public:
    /// With an empty message `what()` answers the class name.
    explicit UnstableErr(const std::wstring& message = std::wstring());
};

#endif
