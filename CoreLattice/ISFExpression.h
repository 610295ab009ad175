#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace CoreLattice {

/// The formula for the width or height of a pass, as the Interactive Shader Format writes it: numbers, `$WIDTH`,
/// `$HEIGHT` and `$name` of an input, the operators + - * / % ^ and parentheses, and the functions floor, ceil, round,
/// trunc, abs, sqrt, sin, cos, tan, exp, log, log2, log10, min, max, pow and mod.
///
/// Unchanging; any thread may use it.
class ISFExpression {
public:
    /// Stands for "the size of the picture".
    ISFExpression() = default;
    /// \param message  gets the reason when \p text is no formula
    static std::optional<ISFExpression> parse(std::string_view text, std::string* message);

    bool isEmpty() const noexcept { return mCode.empty(); }
    /// \param variable  the value of a name without its `$`; nothing for an unknown one, which counts as 0
    /// \return a finite number; 0 where the formula has none, as in a division by 0
    double evaluate(const std::function<std::optional<double>(std::string_view)>& variable) const;

private:
    friend class ISFExpressionParser;
    enum class Operation {
        Number,
        Variable,
        Add,
        Subtract,
        Multiply,
        Divide,
        Negate,
        Floor,
        Ceil,
        Round,
        Abs,
        Sqrt,
        Trunc,
        Sin,
        Cos,
        Tan,
        Exp,
        Log,
        Log2,
        Log10,
        Modulo,
        Min,
        Max,
        Pow
    };
    struct Instruction {
        Operation operation;
        double number = 0;
        std::string name;
    };
    /// For a stack machine, operands first.
    std::vector<Instruction> mCode;
};

}
