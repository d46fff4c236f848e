#include "db/sqlite/translate/sql_type.h"

namespace kvlnmov::db::sqlite::tsql {

int precedence(TypeKind kind) {
    switch (kind) {
        case TypeKind::Null:
        case TypeKind::Predicate:
            return 0;
        case TypeKind::VarChar:
            return 1;
        case TypeKind::Text:
            return 2;
        case TypeKind::Bit:
            return 3;
        case TypeKind::TinyInt:
            return 4;
        case TypeKind::SmallInt:
            return 5;
        case TypeKind::Int:
            return 6;
        case TypeKind::Money:
            return 7;
        case TypeKind::Float:
            return 8;
        case TypeKind::DateTime:
            return 9;
    }
    return 0;
}

bool isIntegral(TypeKind kind) {
    return kind == TypeKind::Bit || kind == TypeKind::TinyInt || kind == TypeKind::SmallInt ||
           kind == TypeKind::Int;
}

bool isNumeric(TypeKind kind) {
    return isIntegral(kind) || kind == TypeKind::Money || kind == TypeKind::Float;
}

bool isText(TypeKind kind) { return kind == TypeKind::VarChar || kind == TypeKind::Text; }

Type dominant(Type a, Type b) { return precedence(b.kind) > precedence(a.kind) ? b : a; }

Type fromColumnType(schema::ColumnType type) {
    switch (type.type) {
        case schema::SqlType::Bit:
            return {TypeKind::Bit};
        case schema::SqlType::TinyInt:
            return {TypeKind::TinyInt};
        case schema::SqlType::SmallInt:
            return {TypeKind::SmallInt};
        case schema::SqlType::Int:
            return {TypeKind::Int};
        case schema::SqlType::Money:
            return {TypeKind::Money};
        case schema::SqlType::Float:
            return {TypeKind::Float};
        case schema::SqlType::DateTime:
            return {TypeKind::DateTime};
        case schema::SqlType::VarChar:
            return {TypeKind::VarChar, type.length};
        case schema::SqlType::Text:
            return {TypeKind::Text};
    }
    return {TypeKind::Int};
}

schema::ColumnType toColumnType(Type type) {
    switch (type.kind) {
        case TypeKind::Null:
        case TypeKind::Int:
            return {schema::SqlType::Int};
        case TypeKind::Predicate:
        case TypeKind::Bit:
            return {schema::SqlType::Bit};
        case TypeKind::TinyInt:
            return {schema::SqlType::TinyInt};
        case TypeKind::SmallInt:
            return {schema::SqlType::SmallInt};
        case TypeKind::Money:
            return {schema::SqlType::Money};
        case TypeKind::Float:
            return {schema::SqlType::Float};
        case TypeKind::DateTime:
            return {schema::SqlType::DateTime};
        case TypeKind::VarChar:
            return {schema::SqlType::VarChar, type.length};
        case TypeKind::Text:
            return {schema::SqlType::Text};
    }
    return {schema::SqlType::Int};
}

std::string typeName(Type type) {
    switch (type.kind) {
        case TypeKind::Null:
        case TypeKind::Int:
            return "int";
        case TypeKind::Predicate:
        case TypeKind::Bit:
            return "bit";
        case TypeKind::TinyInt:
            return "tinyint";
        case TypeKind::SmallInt:
            return "smallint";
        case TypeKind::Money:
            return "money";
        case TypeKind::Float:
            return "float";
        case TypeKind::DateTime:
            return "datetime";
        case TypeKind::VarChar:
            return "varchar(" + std::to_string(type.length) + ")";
        case TypeKind::Text:
            return "varchar(max)";
    }
    return "int";
}

}  // namespace kvlnmov::db::sqlite::tsql
