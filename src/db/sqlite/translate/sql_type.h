#pragma once

// The SQL Server types the translator infers for expressions.

#include <string>

#include "kvlnmov/schema/schema.h"

namespace kvlnmov::db::sqlite::tsql {

enum class TypeKind {
    Null,       ///< the NULL literal: takes the type of what it meets
    Predicate,  ///< a search condition (comparison, AND, EXISTS, ...)
    VarChar,
    Text,  ///< varchar(max)
    Bit,
    TinyInt,
    SmallInt,
    Int,
    Money,
    Float,
    DateTime,
};

struct Type {
    TypeKind kind = TypeKind::Null;
    int length = 0;  ///< varchar(n) only
    bool operator==(const Type&) const = default;
};

/// The server's data type precedence: when two types meet, the lower converts to the higher.
int precedence(TypeKind kind);
bool isIntegral(TypeKind kind);  ///< bit, tinyint, smallint, int
bool isNumeric(TypeKind kind);   ///< integral, money, float
bool isText(TypeKind kind);      ///< varchar(n), varchar(max)
/// The type with the higher precedence.
Type dominant(Type a, Type b);

Type fromColumnType(schema::ColumnType type);
schema::ColumnType toColumnType(Type type);
/// "smallint", "varchar(60)", "money", ... as the server names the type in messages.
std::string typeName(Type type);

/// How a literal was written.
enum class LiteralKind { Integer, Decimal, Float, String };

}  // namespace kvlnmov::db::sqlite::tsql
