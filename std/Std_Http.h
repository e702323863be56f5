// Documents from http servers, asked for in the oldest form: one line without headers or a version.
// The whole answer is the document.
#ifndef STD_STD_HTTP_H
#define STD_STD_HTTP_H

class Std_URL;

// Stores what the server answers in a file without a name, which stands at its start. A server that
// still waits after a second is told that the request is complete, by the end of the sending side.
// What came stays when the connection breaks, the server falls silent for 40 seconds, or the answer
// is over std_limits: each is reported, and `is_whole` becomes false. On failure, or if nothing
// came until then: -1, reported.
int std_http_fetch(const Std_URL& url, bool* is_whole);

// Whether the document is the answer of a server that does not know our form of request, in its
// own.
bool std_begins_with_status_line(int document);

#endif
