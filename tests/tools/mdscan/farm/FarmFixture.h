// What do tests of farms share?  A server for all of a program's tests, and an empty database for each.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "ClipFixture.h"
#include "PostgresServer.h"
#include "farm/Database.h"
#include "farm/Farm.h"

namespace Scan {

class FarmFixture : public Video::ClipFixture {
protected:
    static PostgresServer& Server() { return *server; }

    static void SetUpTestSuite() { StartServer(""); }
    static void StartServer(const std::string& settings) {
        if (!server && PostgresServer::Missing().empty()) {
            server = std::make_unique<PostgresServer>(settings);
        }
    }
    static void TearDownTestSuite() { server.reset(); }

    void SetUp() override {
        if (!server) {
            GTEST_SKIP() << PostgresServer::Missing();
        }
        _database = std::make_unique<Database>(Address(), Database::Patience::Short);
        _database->Do("DROP SCHEMA IF EXISTS mdscan CASCADE");
    }

    DatabaseAddress Address(const std::string& role = "postgres") const {
        return ReadAddress(Server().Address(role), nullptr);
    }

    // As the owner.
    Database& Owner() { return *_database; }

    // The one cell that this answers.
    std::string Ask(const std::string& sql) { return Owner().Ask(sql.c_str()).at(0).at(0).value_or("NULL"); }
    void Say(const std::string& sql) { Owner().Ask(sql.c_str()); }

    // "2 open, 1 done"
    std::string States() {
        return Ask("SELECT coalesce(string_agg(n || ' ' || state, ', ' ORDER BY state), '') FROM "
                   "(SELECT state, count(*) AS n FROM mdscan.jobs GROUP BY state) AS counted");
    }

private:
    static inline std::unique_ptr<PostgresServer> server;
    std::unique_ptr<Database> _database;
};

}  // namespace Scan
