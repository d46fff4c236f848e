#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace kvlnmov {

/// The one failure type of the library: an error number, the source that raised it and a
/// description, as an application reads them from a raised error. Every operation, property
/// and provider reports failures only through this type.
class Error : public std::runtime_error {
  public:
    /// `nativeError` keeps the database's own error code (SQLite result code, ODBC native
    /// error) when the error comes from a provider; 0 otherwise.
    Error(std::int32_t number, std::string source, std::string description,
          std::int32_t nativeError = 0);

    std::int32_t number() const { return number_; }
    const std::string& source() const { return source_; }
    const std::string& description() const { return description_; }
    std::int32_t nativeError() const { return nativeError_; }

    /// The same error raised again under another source (what an operation's handler does).
    Error withSource(std::string source) const;

  private:
    std::int32_t number_;
    std::string source_;
    std::string description_;
    std::int32_t nativeError_;
};

/// Error numbers the library raises or recognises.
namespace errc {
/// Checks made by the library's own code.
inline constexpr std::int32_t kCheck = 1000;
/// Runtime errors of the language the callers expect.
inline constexpr std::int32_t kInvalidProcedureCall = 5;
inline constexpr std::int32_t kOverflow = 6;
inline constexpr std::int32_t kSubscriptOutOfRange = 9;
inline constexpr std::int32_t kTypeMismatch = 13;
inline constexpr std::int32_t kObjectRequired = 91;
inline constexpr std::int32_t kInvalidUseOfNull = 94;
inline constexpr std::int32_t kCantCreateObject = 429;
inline constexpr std::int32_t kMemberNotFound = 438;
inline constexpr std::int32_t kArgumentNotOptional = 449;
/// First code of the object-defined range (hexadecimal 80040001): obsolete properties.
inline constexpr std::int32_t kObsoleteProperty = -2147221503;
/// Provider errors as an ADO client receives them from SQL Server.
inline constexpr std::int32_t kSyntax = -2147217900;           ///< syntax, invalid column
inline constexpr std::int32_t kInvalidObject = -2147217865;    ///< invalid object name
inline constexpr std::int32_t kIntegrity = -2147217873;        ///< key or NOT NULL violation
inline constexpr std::int32_t kTimeout = -2147217871;          ///< query timeout (busy/locked)
inline constexpr std::int32_t kConversion = -2147217913;       ///< bad date/number conversion
inline constexpr std::int32_t kDataOverflow = -2147217833;     ///< truncation, arithmetic overflow
inline constexpr std::int32_t kProviderGeneric = -2147467259;  ///< any other provider failure
}  // namespace errc

/// Source given to the runtime errors raised by the library's value conversions.
inline constexpr const char* kRuntimeSource = "KVLNMOV";

/// Runtime errors with their usual descriptions ("Type mismatch", "Invalid use of Null", ...).
Error typeMismatch();
Error invalidUseOfNull();
Error overflow();
Error objectRequired();
Error subscriptOutOfRange();

}  // namespace kvlnmov
