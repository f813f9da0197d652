#include "statements.h"

#include "tokens.h"

namespace norvane::driver {
namespace {

constexpr std::size_t none = static_cast<std::size_t>(-1);

class Splitter {
  public:
    Splitter(const SourceText& source, const MeantWords& meant) : source_(source), meant_(meant) {
        match_braces();
    }

    std::vector<Statement> run() {
        for (; at_ < source_.size(); ++at_) {
            const std::string_view word = word_at(at_);
            if (is_section_word(word))
                section(word);
            else if (word == "{")
                open();
            else if (word == "}")
                close();
            else if (word == ";")
                finish(at_ + 1);
        }
        finish(at_);
        leave_records();
        return std::move(statements_);
    }

  private:
    std::string_view word_at(std::size_t token) const {
        const auto found = meant_.find(token);
        return found == meant_.end() ? source_.word(token) : std::string_view(found->second);
    }

    // Finds the end of each record, which no section of the model is in.
    void match_braces() {
        closing_.resize(source_.size(), none);
        std::vector<std::size_t> open;
        for (std::size_t i = 0; i < source_.size(); ++i) {
            const std::string_view word = word_at(i);
            if (word == "{") open.push_back(i);
            if (word == "}" && !open.empty()) {
                closing_[open.back()] = i;
                open.pop_back();
            }
            if (is_section_word(word) && word != "rule") open.clear();
        }
    }

    Statement begin(std::size_t first, std::size_t end) const {
        Statement statement{first, end, section_, depth()};
        statement.is_record_rule = depth() > 0 && records_.back().in_rules;
        const bool has_brace = first < end && word_at(first) == "}";
        statement.closes_record = has_brace && !is_stray_;
        statement.is_stray = has_brace && is_stray_;
        return statement;
    }
    unsigned depth() const { return static_cast<unsigned>(records_.size()); }

    // Ends the statement under way, if there is one.
    void finish(std::size_t end) {
        if (start_ < end) {
            Statement statement = begin(start_, end);
            if (statement.closes_record) end_record(end);
            statements_.push_back(statement);
            is_stray_ = false;
        }
        start_ = end;
    }

    // The statement that opened the record which has ended last.
    void end_record(std::size_t end) {
        if (ended_ != none) statements_[ended_].whole_end = end;
        ended_ = none;
    }

    void section(std::string_view word) {
        finish(at_);
        start_ = at_ + 1;
        // The rules of a record come once, so those after them are in it only if it ends later.
        const bool in_record =
            word == "rule" && !records_.empty() && closing_[records_.back().brace] != none;
        if (in_record) {
            records_.back().in_rules = true;
            return;
        }
        leave_records();
        section_ = word;
    }

    void leave_records() {
        for (const Record& record : records_) {
            statements_[record.statement].is_closed = false;
            statements_[record.statement].whole_end = at_;
        }
        records_.clear();
    }

    void open() {
        Statement statement = begin(start_, at_ + 1);
        statement.opens_record = true;
        if (statement.closes_record) end_record(start_ + 1); // where the ';' between is missing
        statements_.push_back(statement);
        records_.push_back({at_, statements_.size() - 1, false});
        start_ = at_ + 1;
    }

    void close() {
        finish(at_);
        is_stray_ = records_.empty();
        if (is_stray_) return;
        start_ = at_;
        ended_ = records_.back().statement;
        statements_[ended_].whole_end = at_ + 1;
        records_.pop_back();
    }

    struct Record {
        std::size_t brace;
        std::size_t statement;
        bool in_rules;
    };

    const SourceText& source_;
    const MeantWords& meant_;
    std::vector<std::size_t> closing_; // for each opening brace
    std::vector<Statement> statements_;
    std::vector<Record> records_;
    std::size_t ended_ = none;
    std::string_view section_;
    std::size_t start_ = 0;
    bool is_stray_ = false; // the brace that the statement under way begins with
    std::size_t at_ = 0;
};

} // namespace

std::string Statement::head() const {
    std::string text(section);
    for (unsigned i = 0; i < depth; ++i)
        text += " x:{";
    if (depth > 0 && is_record_rule) text += " rule";
    // What follows a record's end is parsed after the end of another one.
    if (closes_record) text += " x:{";
    return text;
}

std::vector<Statement> statements_of(const SourceText& source, const MeantWords& meant) {
    return Splitter(source, meant).run();
}

} // namespace norvane::driver
