#include "oci/sql/definitions/parser.h"

namespace oci::sql {
namespace {

/// A password is a word or stands in double quotes.
std::string_view parse_password(TokenStream& tokens) {
    const Token token = tokens.peek();
    if (!token.is_name() && token.kind != Token::Kind::number) tokens.fail(error::invalid_password);
    tokens.take();
    if (tokens.accept("REPLACE")) tokens.take();
    // Passwords tell letters of different case apart.
    return token.kind == Token::Kind::quoted ? token.text : tokens.text_between(token.at, token.end);
}

bool skip_account_option(TokenStream& tokens) {
    if (tokens.accept("QUOTA")) {
        tokens.take();
        if (tokens.at("K") || tokens.at("M") || tokens.at("G")) tokens.take();
        tokens.expect("ON", error::missing_keyword);
        tokens.name(error::no_such_tablespace);
    } else if (tokens.at("ACCOUNT", "LOCK") || tokens.at("PASSWORD", "EXPIRE")) {
        tokens.unsupported("accounts that are locked or expired");
    } else if (tokens.accept("CONTAINER")) {
        tokens.expect("=", error::missing_equal_sign);
        tokens.take();
    } else if (tokens.accept("PROFILE")) {
        tokens.take();
    } else if (tokens.accept("DEFAULT", "ROLE")) {
        do {
            tokens.take();
        } while (tokens.accept(","));
    } else if (tokens.accept("DEFAULT", "TABLESPACE") || tokens.accept("TEMPORARY", "TABLESPACE")) {
        tokens.name(error::no_such_tablespace);
    } else {
        return tokens.accept("ACCOUNT", "UNLOCK") || tokens.accept("ENABLE", "EDITIONS");
    }
    return true;
}

Definition* parse_account(TokenStream& tokens, Offset at, DefinitionKind kind) {
    auto* user = make_definition<UserDefinition>(tokens, at, kind);
    user->name = tokens.name(error::missing_user_name);
    for (;;) {
        if (tokens.accept("IDENTIFIED")) {
            if (tokens.at("EXTERNALLY") || tokens.at("GLOBALLY")) tokens.unsupported("accounts without a password");
            tokens.expect("BY", error::missing_keyword);
            if (tokens.at("VALUES")) tokens.unsupported("passwords that are given as hashes");
            user->password = parse_password(tokens);
        } else if (!skip_account_option(tokens)) {
            if (!tokens.at_end()) tokens.fail(error::invalid_option);
            return user;
        }
    }
}

void skip_privileges(TokenStream& tokens) {
    while (!tokens.at_end() && !tokens.at("ON") && !tokens.at("TO") && !tokens.at("FROM")) {
        if (tokens.at("(")) {
            skip_parentheses(tokens);
        } else {
            if (tokens.peek().kind != Token::Kind::word && !tokens.at(",") && !tokens.at_name())
                tokens.fail(error::invalid_privilege);
            tokens.take();
        }
    }
}

/// BY password, password ...: one for each user
std::span<std::string_view> parse_passwords(TokenStream& tokens) {
    std::vector<std::string_view> passwords;
    tokens.expect("BY", error::missing_keyword);
    do {
        passwords.push_back(parse_password(tokens));
    } while (tokens.accept(","));
    return tokens.arena().list(passwords);
}

} // namespace

Definition* parse_create_user(TokenStream& tokens, Offset at) {
    Definition* user = parse_account(tokens, at, DefinitionKind::create_user);
    if (!user->as<UserDefinition>().password) tokens.fail(error::invalid_option);
    return user;
}

Definition* parse_alter_user(TokenStream& tokens, Offset at) {
    return parse_account(tokens, at, DefinitionKind::alter_user);
}

Definition* parse_privileges(TokenStream& tokens, Offset at) {
    auto* grant = make_definition<Privileges>(tokens, at, DefinitionKind::privileges);
    const bool revokes = tokens.take().is("REVOKE");
    skip_privileges(tokens);
    if (tokens.accept("ON")) {
        if (tokens.at("DIRECTORY") || tokens.at("JAVA") || tokens.at("EDITION")) tokens.unsupported("such objects");
        grant->object = tokens.object_name(error::invalid_table_name);
    }
    tokens.expect(revokes ? "FROM" : "TO", error::missing_keyword);
    std::vector<Name> users;
    do {
        // PUBLIC is reserved everywhere else.
        if (!tokens.accept("PUBLIC")) users.push_back(tokens.name(error::invalid_user_name));
    } while (tokens.accept(","));
    grant->users = tokens.arena().list(users);
    if (!revokes && tokens.accept("IDENTIFIED")) grant->passwords = parse_passwords(tokens);
    if (!grant->passwords.empty() && grant->passwords.size() != users.size()) tokens.fail(error::missing_keyword);
    if (tokens.accept("WITH")) {
        if (!tokens.accept("GRANT") && !tokens.accept("ADMIN") && !tokens.accept("HIERARCHY"))
            tokens.fail(error::missing_keyword);
        tokens.expect("OPTION", error::missing_keyword);
    }
    if (revokes && tokens.accept("CASCADE")) tokens.expect("CONSTRAINTS", error::missing_keyword);
    return grant;
}

} // namespace oci::sql
