// What went wrong, as a value. No function of this library throws across its public interface.
#pragma once

#include <string>
#include <utility>
#include <variant>

namespace ordune {

enum class ErrorKind {
    NotFound,     // no such file
    NotPermitted, // the file may not be read
    NotAFile,     // a directory, a device, a socket
    NotMedia,     // no container or stream that is known
    NoVideo,      // nothing to see in it: sound alone, or not one picture that can be decoded
    UnknownCodec, // a codec that the decoder library lacks
    Damaged,      // recognised, but broken where it matters
    OutOfRange,   // a frame or a time outside the file; a buffer too small
    OutOfMemory,
    Io,        // reading failed in the middle
    Cancelled, // given up because the caller asked to
};

// A failure: its category for code, its text for people, and the file that it is about.
struct Error {
    ErrorKind kind;
    std::string text;
    std::string file;
};

// Either a value or the error that kept it from being made.
template <class T>
class [[nodiscard]] Result {
  public:
    Result(T value) : m_content(std::in_place_index<0>, std::move(value)) {}
    Result(Error error) : m_content(std::in_place_index<1>, std::move(error)) {}

    explicit operator bool() const { return m_content.index() == 0; }
    T& Value() { return std::get<0>(m_content); }
    const T& Value() const { return std::get<0>(m_content); }
    const Error& Failure() const { return std::get<1>(m_content); }

  private:
    std::variant<T, Error> m_content;
};

// The outcome of something that has no value: done, or the error.
template <>
class [[nodiscard]] Result<void> {
  public:
    Result() = default;
    Result(Error error) : m_content(std::move(error)) {}

    explicit operator bool() const { return m_content.index() == 0; }
    const Error& Failure() const { return std::get<1>(m_content); }

  private:
    std::variant<std::monostate, Error> m_content;
};

} // namespace ordune
