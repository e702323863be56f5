// Documents of servers of today, and encrypted ones: fetched by the command curl. Internal.
#ifndef STD_STD_CURL_H
#define STD_STD_CURL_H

class Std_URL;

// Stores the document in a file without a name, which stands at its start. Only http and https are
// spoken, also where the server sends on to another address, ten times at most; size, time and pace
// have the limits of std_limits. `is_found` tells whether there is such a command. On failure, also
// of a document that breaks off, as of std_http_fetch.
int std_curl_fetch(const Std_URL& url, bool* is_whole, bool* is_found);

#endif
