#include "MofParser.h"

#include "Text.h"

namespace om::wmi {

namespace {

constexpr int kMaxNesting = 64;

class Parser {
 public:
  Parser(const std::vector<MofToken>& tokens, std::string* error, int* errorLine)
      : tokens_(tokens), error_(error), errorLine_(errorLine) {}

  bool document(std::vector<MofStatement>* statements) {
    while (!at(MofToken::Kind::kEnd)) {
      MofStatement statement;
      if (!topLevel(&statement)) return false;
      statements->push_back(std::move(statement));
    }
    return true;
  }

 private:
  const MofToken& current() const { return tokens_[pos_]; }
  bool at(MofToken::Kind kind) const { return current().kind == kind; }
  bool atPunct(char16_t c) const { return at(MofToken::Kind::kPunct) && current().text[0] == c; }
  bool atName(std::u16string_view name) const {
    return at(MofToken::Kind::kName) && equalsNoCase(current().text, name);
  }
  void advance() {
    if (!at(MofToken::Kind::kEnd)) ++pos_;
  }

  bool fail(const std::string& message) {
    *error_ = message;
    if (at(MofToken::Kind::kEnd)) {
      *error_ += " at the end of the text";
    } else {
      *error_ += " near '" + toUtf8(current().text.substr(0, 40)) + "'";
    }
    *errorLine_ = current().line;
    return false;
  }

  bool expectPunct(char16_t c, const char* what) {
    if (!atPunct(c)) return fail(std::string("expected '") + static_cast<char>(c) + "' " + what);
    advance();
    return true;
  }

  bool name(std::u16string* out, const char* what) {
    if (!at(MofToken::Kind::kName)) return fail(std::string("expected ") + what);
    *out = current().text;
    advance();
    return true;
  }

  bool topLevel(MofStatement* statement) {
    if (atPunct(u'#')) {
      statement->kind = MofStatement::Kind::kPragma;
      return pragma(&statement->pragma);
    }
    std::vector<MofQualifierDecl> qualifiers;
    if (atPunct(u'[') && !qualifierList(&qualifiers)) return false;
    if (atName(u"class")) {
      statement->kind = MofStatement::Kind::kClass;
      statement->cls.qualifiers = std::move(qualifiers);
      return classDecl(&statement->cls);
    }
    if (atName(u"instance")) {
      statement->kind = MofStatement::Kind::kInstance;
      statement->instance = std::make_shared<MofInstanceDecl>();
      return instanceDecl(statement->instance.get(), 0) && expectPunct(u';', "after an instance");
    }
    if (atName(u"qualifier")) return fail("qualifier declarations are not supported");
    return fail("expected a class, an instance or a pragma");
  }

  bool pragma(MofPragma* out) {
    out->line = current().line;
    advance();
    if (!atName(u"pragma")) return fail("expected 'pragma' after '#'");
    advance();
    if (!name(&out->name, "a pragma name")) return false;
    if (!expectPunct(u'(', "after the pragma name")) return false;
    while (!atPunct(u')')) {
      MofValue argument;
      if (at(MofToken::Kind::kName) && !atName(u"TRUE") && !atName(u"FALSE") && !atName(u"NULL")) {
        // Bare words such as FAIL and NOFAIL of deleteclass.
        argument.kind = MofValue::Kind::kString;
        argument.text = current().text;
        argument.line = current().line;
        advance();
      } else if (!value(&argument, 0)) {
        return false;
      }
      out->arguments.push_back(std::move(argument));
      if (!atPunct(u',')) break;
      advance();
    }
    return expectPunct(u')', "to close the pragma");
  }

  bool qualifierList(std::vector<MofQualifierDecl>* out) {
    advance();  // '['
    do {
      MofQualifierDecl q;
      q.line = current().line;
      if (!name(&q.name, "a qualifier name")) return false;
      if (atPunct(u'(')) {
        advance();
        q.hasValue = true;
        if (!value(&q.value, 0) || !expectPunct(u')', "after the qualifier value")) return false;
      } else if (atPunct(u'{')) {
        q.hasValue = true;
        if (!value(&q.value, 0)) return false;
      }
      if (atPunct(u':')) {
        advance();
        q.hasFlavors = true;
        while (at(MofToken::Kind::kName)) {
          q.flavors.push_back(current().text);
          advance();
        }
        if (q.flavors.empty()) return fail("expected a flavor after ':'");
      }
      out->push_back(std::move(q));
      if (!atPunct(u',')) break;
      advance();
    } while (true);
    return expectPunct(u']', "to close the qualifier list");
  }

  bool classDecl(MofClassDecl* out) {
    out->line = current().line;
    advance();  // class
    if (!name(&out->name, "a class name")) return false;
    if (atPunct(u':')) {
      advance();
      if (!name(&out->superclass, "a superclass name")) return false;
    }
    if (!expectPunct(u'{', "to open the class")) return false;
    while (!atPunct(u'}')) {
      if (at(MofToken::Kind::kEnd)) return fail("expected '}' to close the class");
      if (!feature(out)) return false;
    }
    advance();
    return expectPunct(u';', "after the class");
  }

  bool type(MofTypeDecl* out) {
    if (!name(&out->name, "a type")) return false;
    if (atName(u"ref")) {
      out->isRef = true;
      advance();
    }
    return true;
  }

  bool arraySuffix(bool* isArray) {
    if (!atPunct(u'[')) return true;
    advance();
    *isArray = true;
    if (at(MofToken::Kind::kInteger)) advance();  // a fixed size changes nothing here
    return expectPunct(u']', "to close the array brackets");
  }

  bool feature(MofClassDecl* cls) {
    std::vector<MofQualifierDecl> qualifiers;
    if (atPunct(u'[') && !qualifierList(&qualifiers)) return false;
    const int line = current().line;
    MofTypeDecl featureType;
    std::u16string featureName;
    if (!type(&featureType) || !name(&featureName, "a property or method name")) return false;
    if (atPunct(u'(')) {
      MofMethodDecl method{std::move(qualifiers), featureType, featureName, {}, line};
      advance();
      while (!atPunct(u')')) {
        MofPropertyDecl parameter;
        if (!parameterDecl(&parameter)) return false;
        method.parameters.push_back(std::move(parameter));
        if (!atPunct(u',')) break;
        advance();
      }
      if (!expectPunct(u')', "to close the parameter list") || !expectPunct(u';', "after the method")) return false;
      cls->methods.push_back(std::move(method));
      return true;
    }
    MofPropertyDecl property;
    property.qualifiers = std::move(qualifiers);
    property.type = featureType;
    property.name = featureName;
    property.line = line;
    if (!arraySuffix(&property.isArray)) return false;
    if (atPunct(u'=')) {
      advance();
      property.hasDefault = true;
      if (!value(&property.defaultValue, 0)) return false;
    }
    if (!expectPunct(u';', "after the property")) return false;
    cls->properties.push_back(std::move(property));
    return true;
  }

  bool parameterDecl(MofPropertyDecl* out) {
    if (atPunct(u'[') && !qualifierList(&out->qualifiers)) return false;
    out->line = current().line;
    if (!type(&out->type) || !name(&out->name, "a parameter name") || !arraySuffix(&out->isArray)) return false;
    if (atPunct(u'=')) {
      advance();
      out->hasDefault = true;
      return value(&out->defaultValue, 0);
    }
    return true;
  }

  bool instanceDecl(MofInstanceDecl* out, int depth) {
    out->line = current().line;
    advance();  // instance
    if (!atName(u"of")) return fail("expected 'of' after 'instance'");
    advance();
    if (!name(&out->className, "a class name")) return false;
    if (atName(u"as")) return fail("aliases are not supported");
    if (!expectPunct(u'{', "to open the instance")) return false;
    while (!atPunct(u'}')) {
      if (at(MofToken::Kind::kEnd)) return fail("expected '}' to close the instance");
      MofPropertyValue property;
      property.line = current().line;
      if (atPunct(u'[')) {
        std::vector<MofQualifierDecl> ignored;  // instance qualifiers carry nothing here
        if (!qualifierList(&ignored)) return false;
      }
      if (!name(&property.name, "a property name") || !expectPunct(u'=', "after the property name") ||
          !value(&property.value, depth + 1) || !expectPunct(u';', "after the property value")) {
        return false;
      }
      out->values.push_back(std::move(property));
    }
    advance();
    return true;
  }

  bool value(MofValue* out, int depth) {
    if (depth > kMaxNesting) return fail("values nested too deeply");
    out->line = current().line;
    const MofToken& token = current();
    switch (token.kind) {
      case MofToken::Kind::kInteger: out->kind = MofValue::Kind::kInteger; break;
      case MofToken::Kind::kReal: out->kind = MofValue::Kind::kReal; break;
      case MofToken::Kind::kChar: out->kind = MofValue::Kind::kChar; break;
      case MofToken::Kind::kString:
        out->kind = MofValue::Kind::kString;
        // Adjacent literals join, as in C.
        while (at(MofToken::Kind::kString)) {
          out->text += current().text;
          advance();
        }
        return true;
      case MofToken::Kind::kName:
        if (atName(u"TRUE") || atName(u"FALSE")) {
          out->kind = MofValue::Kind::kBoolean;
          out->text = atName(u"TRUE") ? u"TRUE" : u"FALSE";
          advance();
          return true;
        }
        if (atName(u"NULL")) {
          out->kind = MofValue::Kind::kNull;
          advance();
          return true;
        }
        if (atName(u"instance")) {
          out->kind = MofValue::Kind::kInstance;
          out->instance = std::make_shared<MofInstanceDecl>();
          return instanceDecl(out->instance.get(), depth + 1);
        }
        return fail("expected a value");
      case MofToken::Kind::kPunct:
        if (atPunct(u'{')) return array(out, depth);
        if (atPunct(u'$')) return fail("aliases are not supported");
        return fail("expected a value");
      case MofToken::Kind::kEnd: return fail("expected a value");
    }
    out->text = token.text;
    advance();
    return true;
  }

  bool array(MofValue* out, int depth) {
    out->kind = MofValue::Kind::kArray;
    advance();  // '{'
    while (!atPunct(u'}')) {
      MofValue item;
      if (!value(&item, depth + 1)) return false;
      if (item.kind == MofValue::Kind::kArray) return fail("arrays of arrays are not allowed");
      out->items.push_back(std::move(item));
      if (!atPunct(u',')) break;
      advance();
    }
    return expectPunct(u'}', "to close the array");
  }

  const std::vector<MofToken>& tokens_;
  size_t pos_ = 0;
  std::string* error_;
  int* errorLine_;
};

}  // namespace

bool parseMof(const std::vector<MofToken>& tokens, std::vector<MofStatement>* statements, std::string* error,
              int* errorLine) {
  statements->clear();
  if (tokens.empty() || tokens.back().kind != MofToken::Kind::kEnd) {
    *error = "no end of text";
    *errorLine = 0;
    return false;
  }
  return Parser(tokens, error, errorLine).document(statements);
}

}  // namespace om::wmi
