#pragma once

#include <cstdint>
#include <string>

namespace kvlnmov::db {

/// Data types of result columns and procedure parameters, numbered as ADO numbers them.
/// A provider types each result column by its SQL Server type: bit -> Boolean,
/// tinyint -> UnsignedTinyInt, smallint -> SmallInt, int -> Integer, money/decimal/numeric ->
/// Currency (exact), float -> Double, datetime -> Date, char/varchar/text -> VarChar.
enum class DataType : std::int32_t {
    Empty = 0,
    SmallInt = 2,          ///< adSmallInt
    Integer = 3,           ///< adInteger
    Double = 5,            ///< adDouble
    Currency = 6,          ///< adCurrency
    Date = 7,              ///< adDate
    Boolean = 11,          ///< adBoolean
    TinyInt = 16,          ///< adTinyInt (procedure parameters)
    UnsignedTinyInt = 17,  ///< adUnsignedTinyInt (tinyint columns)
    BigInt = 20,           ///< adBigInt
    VarChar = 200,         ///< adVarChar
};

/// Direction of a procedure parameter (ADO ParameterDirectionEnum).
enum class ParameterDirection : std::int32_t {
    Input = 1,
    Output = 2,
    InputOutput = 3,
    ReturnValue = 4,
};

/// What a command's text is (ADO CommandTypeEnum).
enum class CommandType : std::int32_t {
    Text = 1,
    StoredProc = 4,
};

/// Name and type of one result column.
struct ColumnInfo {
    std::string name;
    DataType type = DataType::Empty;
};

/// ADO's own error numbers, raised with source "ADODB.Recordset"/"ADODB.Command".
namespace adoerr {
inline constexpr std::int32_t kNoCurrentRecord = 3021;    ///< read at BOF/EOF
inline constexpr std::int32_t kItemNotFound = 3265;       ///< unknown field or parameter name
inline constexpr std::int32_t kObjectClosed = 3704;       ///< operation on a closed recordset
inline constexpr std::int32_t kInvalidConnection = 3709;  ///< command without connection
}  // namespace adoerr

}  // namespace kvlnmov::db
