#pragma once
// A parsed page script: the procedures (Sub and Function) by name and the
// statements at page level, as a tree the interpreter walks. Names are kept
// as written, for messages, and as `key`, folded to lower case, for look-up,
// since VBScript names are case-insensitive. Every statement keeps the page
// line it starts on.

#include "script/ScriptValue.h"

#include <QHash>
#include <QStringList>

#include <memory>
#include <vector>

namespace qrt::script {

class ScriptProgram
{
public:
    struct Expression;
    using ExpressionPtr = std::unique_ptr<Expression>;
    using Expressions = std::vector<ExpressionPtr>;

    struct Expression
    {
        enum class Kind {
            Literal,     // value
            Name,        // name: a variable, or a procedure called without arguments
            NameCall,    // name(args): an array element, an object's default member or a call
            Member,      // object.name; no object inside With means the With object
            MemberCall,  // object.name(args)
            Index,       // object(args) on any other value
            Concatenate, // operands joined by &
            Equal,
            NotEqual,
            Is,
            Negate,
        };
        Kind kind = Kind::Literal;
        ScriptValue value;
        QString name;
        QString key;
        ExpressionPtr object;
        Expressions operands; // the arguments, or the operands of an operator
    };

    struct Statement;
    using Block = std::vector<std::unique_ptr<Statement>>;

    struct Branch
    {
        ExpressionPtr condition; // none for Else
        Block body;
    };

    struct Statement
    {
        enum class Kind { Assign, Set, Call, If, For, ForEach, With, ExitSub, ExitFunction };
        Kind kind = Kind::Call;
        int line = 0;
        ExpressionPtr target; // assigned to, called, or the With object
        ExpressionPtr value;  // assigned; the start of For; the collection of For Each
        ExpressionPtr end;    // the end of For
        Expressions args;     // of a call without parentheses
        QString name;         // the loop variable
        QString key;
        std::vector<Branch> branches; // of If, in order, Else last
        Block body;                   // of the loops and With
    };

    struct Procedure
    {
        QString name;
        QString key;
        bool isFunction = false;
        int line = 0;
        QStringList parameters; // keys
        QStringList locals;     // keys of its Dims, wherever they stand in the body
        Block body;
    };

    QHash<QString, std::shared_ptr<const Procedure>> procedures;
    QStringList globals; // keys of the page-level Dims
    Block statements;    // at page level, in page order
};

} // namespace qrt::script
