// Stores a file in a BLOB and reads it back, both in pieces, so that memory for one piece is enough. The library itself
// writes the lines "Inside release" and "delete": one or two for each BLOB handle that goes.
#include "dtk/handles.h"
#include "support/temporary_folder.h"

#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

constexpr unsigned int piece_bytes = 64 * 1024;

char* chars(Bytes& bytes) {
    return reinterpret_cast<char*>(bytes.data());
}

/// Getters do not tell that there is no row: what mb_fetch returns does.
void require_row(DTK_ResultSetBase& rows, int id) {
    if (!rows.mb_fetch()) throw std::runtime_error("there is no document " + std::to_string(id));
}

/// A BLOB of a table is written through its row, which is locked meanwhile: so it is stored empty, then selected.
void store_file(DTK_ConnectionBase& connection, int id, const std::string& path) {
    const auto insert = dtk::prepare(connection, "INSERT INTO document VALUES (:1, EMPTY_BLOB())");
    insert->mb_setInt(1, id);
    insert->mb_executeUpdate();

    const auto query = dtk::prepare(connection, "SELECT content FROM document WHERE id = :1 FOR UPDATE");
    query->mb_setInt(1, id);
    const auto rows = dtk::open(*query);
    require_row(*rows, id);
    DTK_Blob content = rows->mb_getDTK_Blob(1); // it goes before the result set, whose row it belongs to
    std::ifstream file(path, std::ios::binary);
    Bytes piece(piece_bytes);
    unsigned int offset = 1; // offsets count from 1
    while (file.read(chars(piece), piece_bytes) || file.gcount() > 0)
        offset += content.mb_get()->mb_write(static_cast<unsigned int>(file.gcount()), piece.data(), offset);
    std::cout << content.mb_get()->mb_length() << " bytes stored\n";
    connection.mb_commit();
}

void read_file(DTK_ConnectionBase& connection, int id, const std::string& path) {
    const auto query = dtk::prepare(connection, "SELECT content FROM document WHERE id = :1");
    query->mb_setInt(1, id);
    const auto rows = dtk::open(*query);
    require_row(*rows, id);
    DTK_Blob content = rows->mb_getDTK_Blob(1);
    if (content.mb_get()->mb_isNull()) return;
    std::ofstream file(path, std::ios::binary);
    Bytes piece(piece_bytes);
    while (const unsigned int count = content.mb_get()->mb_readChunk(piece_bytes, piece.data()))
        file.write(chars(piece), count);
    std::cout << file.tellp() << " bytes read\n";
}

std::string contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

int main() try {
    const support::TemporaryFolder folder;
    const std::string original = folder.file("original"), copy = folder.file("copy");
    std::ofstream file(original, std::ios::binary);
    for (int line = 1; line <= 40'000; ++line) file << "This is line " << line << '\n';
    file.close();

    const auto pool = dtk::make_pool("demo", "secret", "memory:blob_in_pieces", 1);
    const dtk::Connection connection(pool->mb_getConnection(true));
    dtk::execute(*connection, "CREATE TABLE document (id NUMBER(9) PRIMARY KEY, content BLOB)");
    store_file(*connection, 1, original);
    read_file(*connection, 1, copy);
    const bool equal = contents(copy) == contents(original);
    std::cout << (equal ? "The copy equals the original.\n" : "The copy DIFFERS from the original.\n");
    return equal ? 0 : 1;
} catch (DTK_Exception& error) {
    std::cerr << "blob_in_pieces: " << error.what() << '\n';
    return 1;
} catch (std::runtime_error& error) {
    std::cerr << "blob_in_pieces: " << error.what() << '\n';
    return 1;
}
