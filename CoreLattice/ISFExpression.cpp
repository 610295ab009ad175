#include "CoreLattice/ISFExpression.h"

#include <array>
#include <charconv>
#include <cmath>

namespace CoreLattice {

namespace {

// Formulas come from strangers' files: longer or deeper ones are refused before they can exhaust anything.
constexpr std::size_t longestFormula = 256;
constexpr int deepestNesting = 16;

bool isNameCharacter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

}

class ISFExpressionParser {
public:
    explicit ISFExpressionParser(std::string_view text)
        : mText(text)
    {
    }

    std::optional<ISFExpression> parse(std::string* message)
    {
        if (mText.size() > longestFormula)
            mMessage = "the formula is longer than 256 characters";
        else if (parseSum() && !atEnd())
            mMessage = "unexpected \"" + std::string(mText.substr(mAt)) + "\"";
        if (mMessage.empty())
            return std::move(mResult);
        *message = mMessage;
        return std::nullopt;
    }

private:
    using Operation = ISFExpression::Operation;

    bool atEnd()
    {
        while (mAt < mText.size() && (mText[mAt] == ' ' || mText[mAt] == '\t' || mText[mAt] == '\n'))
            ++mAt;
        return mAt == mText.size();
    }
    bool take(char c)
    {
        if (atEnd() || mText[mAt] != c)
            return false;
        ++mAt;
        return true;
    }
    bool fail(std::string message)
    {
        if (mMessage.empty())
            mMessage = std::move(message);
        return false;
    }
    void emit(Operation operation, double number = 0, std::string name = {})
    {
        mResult.mCode.push_back({ operation, number, std::move(name) });
    }

    bool parseSum()
    {
        if (!parseProduct())
            return false;
        for (;;) {
            const bool plus = take('+');
            if (!plus && !take('-'))
                return true;
            if (!parseProduct())
                return false;
            emit(plus ? Operation::Add : Operation::Subtract);
        }
    }
    bool parseProduct()
    {
        if (!parseFactor())
            return false;
        for (;;) {
            const auto operation = take('*') ? Operation::Multiply
                : take('/')                  ? Operation::Divide
                : take('%')                  ? Operation::Modulo
                                             : Operation::Number;
            if (operation == Operation::Number)
                return true;
            if (!parseFactor())
                return false;
            emit(operation);
        }
    }
    bool parseFactor()
    {
        if (++mDepth > deepestNesting)
            return fail("the formula is nested too deeply");
        const bool parsed = parseFactorBody();
        --mDepth;
        return parsed;
    }
    bool parseFactorBody()
    {
        if (take('+'))
            return parseFactor();
        if (take('-')) {
            if (!parseFactor())
                return false;
            emit(Operation::Negate);
            return true;
        }
        if (!parseOperand())
            return false;
        if (!take('^'))
            return true;
        if (!parseFactor())
            return false;
        emit(Operation::Pow);
        return true;
    }
    bool parseOperand()
    {
        if (take('('))
            return parseSum() && (take(')') || fail("\")\" is missing"));
        if (take('$'))
            return parseVariable();
        if (atEnd())
            return fail("the formula ends too early");
        return isNameCharacter(mText[mAt]) && !(mText[mAt] >= '0' && mText[mAt] <= '9') ? parseFunction()
                                                                                        : parseNumber();
    }
    std::string takeName()
    {
        const auto start = mAt;
        while (mAt < mText.size() && isNameCharacter(mText[mAt]))
            ++mAt;
        return std::string(mText.substr(start, mAt - start));
    }
    bool parseVariable()
    {
        auto name = takeName();
        if (name.empty())
            return fail("a name must follow \"$\"");
        emit(Operation::Variable, 0, std::move(name));
        return true;
    }
    bool parseNumber()
    {
        double number = 0;
        const auto* const first = mText.data() + mAt;
        const auto [end, error] = std::from_chars(first, mText.data() + mText.size(), number);
        if (error != std::errc())
            return fail("unexpected \"" + std::string(mText.substr(mAt)) + "\"");
        mAt += static_cast<std::size_t>(end - first);
        if (mAt < mText.size() && mText[mAt] == 'f')
            ++mAt; // as the shader's language writes numbers
        emit(Operation::Number, number);
        return true;
    }
    bool parseFunction()
    {
        struct Function {
            std::string_view name;
            Operation operation;
            int arguments;
        };
        static constexpr std::array functions { Function { "floor", Operation::Floor, 1 },
            Function { "ceil", Operation::Ceil, 1 }, Function { "ceiling", Operation::Ceil, 1 },
            Function { "round", Operation::Round, 1 }, Function { "trunc", Operation::Trunc, 1 },
            Function { "abs", Operation::Abs, 1 }, Function { "sqrt", Operation::Sqrt, 1 },
            Function { "sin", Operation::Sin, 1 }, Function { "cos", Operation::Cos, 1 },
            Function { "tan", Operation::Tan, 1 }, Function { "exp", Operation::Exp, 1 },
            Function { "log", Operation::Log, 1 }, Function { "ln", Operation::Log, 1 },
            Function { "log2", Operation::Log2, 1 }, Function { "log10", Operation::Log10, 1 },
            Function { "min", Operation::Min, 2 }, Function { "max", Operation::Max, 2 },
            Function { "pow", Operation::Pow, 2 }, Function { "mod", Operation::Modulo, 2 },
            Function { "fmod", Operation::Modulo, 2 } };
        const auto name = takeName();
        for (const auto& function : functions) {
            if (function.name != name)
                continue;
            if (!take('('))
                return fail("\"(\" must follow " + name);
            for (int i = 0; i < function.arguments; ++i) {
                if (i > 0 && !take(','))
                    return fail(name + " takes " + std::to_string(function.arguments) + " arguments");
                if (!parseSum())
                    return false;
            }
            emit(function.operation);
            // The smallest and largest of more than two.
            while ((function.operation == Operation::Min || function.operation == Operation::Max) && take(',')) {
                if (!parseSum())
                    return false;
                emit(function.operation);
            }
            return take(')') || fail("\")\" is missing");
        }
        if (name == "WIDTH" || name == "HEIGHT") {
            emit(Operation::Variable, 0, name); // some files leave the sign out
            return true;
        }
        return fail("\"" + name + "\" is no function");
    }

    std::string_view mText;
    std::size_t mAt = 0;
    int mDepth = 0;
    std::string mMessage;
    ISFExpression mResult;
};

std::optional<ISFExpression> ISFExpression::parse(std::string_view text, std::string* message)
{
    return ISFExpressionParser(text).parse(message);
}

double ISFExpression::evaluate(const std::function<std::optional<double>(std::string_view)>& variable) const
{
    std::vector<double> stack;
    const auto pop = [&stack] {
        const double value = stack.back();
        stack.pop_back();
        return value;
    };
    for (const auto& [operation, number, name] : mCode) {
        if (operation == Operation::Number || operation == Operation::Variable) {
            stack.push_back(operation == Operation::Number ? number : variable(name).value_or(0));
            continue;
        }
        const double b = pop();
        switch (operation) {
        case Operation::Negate:
            stack.push_back(-b);
            break;
        case Operation::Floor:
            stack.push_back(std::floor(b));
            break;
        case Operation::Ceil:
            stack.push_back(std::ceil(b));
            break;
        case Operation::Round:
            stack.push_back(std::round(b));
            break;
        case Operation::Abs:
            stack.push_back(std::abs(b));
            break;
        case Operation::Sqrt:
            stack.push_back(std::sqrt(b));
            break;
        case Operation::Trunc:
            stack.push_back(std::trunc(b));
            break;
        case Operation::Sin:
            stack.push_back(std::sin(b));
            break;
        case Operation::Cos:
            stack.push_back(std::cos(b));
            break;
        case Operation::Tan:
            stack.push_back(std::tan(b));
            break;
        case Operation::Exp:
            stack.push_back(std::exp(b));
            break;
        case Operation::Log:
            stack.push_back(std::log(b));
            break;
        case Operation::Log2:
            stack.push_back(std::log2(b));
            break;
        case Operation::Log10:
            stack.push_back(std::log10(b));
            break;
        case Operation::Modulo:
            stack.push_back(std::fmod(pop(), b));
            break;
        case Operation::Add:
            stack.push_back(pop() + b);
            break;
        case Operation::Subtract:
            stack.push_back(pop() - b);
            break;
        case Operation::Multiply:
            stack.push_back(pop() * b);
            break;
        case Operation::Divide:
            stack.push_back(pop() / b);
            break;
        case Operation::Min:
            stack.push_back(std::fmin(pop(), b));
            break;
        case Operation::Max:
            stack.push_back(std::fmax(pop(), b));
            break;
        case Operation::Pow:
            stack.push_back(std::pow(pop(), b));
            break;
        case Operation::Number:
        case Operation::Variable:
            break;
        }
    }
    return stack.empty() || !std::isfinite(stack.back()) ? 0 : stack.back();
}

}
