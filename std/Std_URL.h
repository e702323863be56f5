// Name of a document, and the stream on it once it is open.
//
//     Std_URL base("http://host/scenes/town.3d");
//     Std_URL* url = base.composed_with(new Std_URL("roof.rgb.gz"));
//     url->open();                            // http://host:80/scenes/roof.rgb.gz, unpacked
//     if (url->is_open()) read(url->get_file());
//     url->close();
//
// Three forms are known: a bare path, "file:" with a path, and protocol "://" host "/" path. There
// are no queries, fragments or escapes: "?" and "%" belong to the path. A path that ends in ".Z",
// ".gz" or ".z" is unpacked on the way, and so is what gzip made under any other name.
//
// A document is opened as a file and judged by what was opened: only plain files are read, and none
// of /proc and the like. The stream is that file, or a pipe from a command that unpacks it
// ("gunzip", "zcat", "pcat"). A document from http is first stored in a file without a name.
// Servers are asked in the oldest form first; "curl" asks those that answer in a later one, and by
// https. Not to be used from two threads.
#ifndef STD_STD_URL_H
#define STD_STD_URL_H

#include <cstdio>
#include <iosfwd>

#include "std/Std_Filter.h"
#include "std/Std_Obj.h"
#include "std/Std_String.h"

// parse takes "local" (which is never written), "file", "ftp", "http" and "https".
inline constexpr const char* URL_FILE_PROTOCOL = "file";
inline constexpr const char* URL_FTP_PROTOCOL = "ftp";
inline constexpr const char* URL_NEWS_PROTOCOL = "news";
inline constexpr const char* URL_HTTP_PROTOCOL = "http";
inline constexpr const char* URL_HTTPS_PROTOCOL = "https";
inline constexpr const char* URL_TELNET_PROTOCOL = "telnet";
inline constexpr const char* URL_GOPHER_PROTOCOL = "gopher";
inline constexpr const char* URL_WAIS_PROTOCOL = "wais";
inline constexpr const char* URL_LOCAL_PROTOCOL = "local";

class Std_URL : public Std_Obj {
    STD_OBJ_CLASS(Std_URL, Std_Obj)

    // Closed. A null text counts as empty.
    explicit Std_URL(const char* text);
    Std_URL(const Std_URL&) = delete;
    Std_URL& operator=(const Std_URL&) = delete;
    // Closes.
    virtual ~Std_URL();

    // Takes white space off both ends and reads the fields. An empty text is a valid bare path.
    // On failure: one warning; is_valid is false and all fields but the text are empty. A text of
    // more than 32000 characters fails too, and is not kept.
    void parse(const char* text);

    // `relative` as seen from this URL: a bare path, also one that begins with "/", is appended to
    // the folder of this one; anything else stands for itself. New, closed, and perhaps invalid.
    Std_URL* composed_with(const Std_URL* relative) const;

    // The text without white space around it.
    const Std_String& get_url_string() const { return url_string_; }
    bool is_valid() const { return valid_; }
    const Std_String& get_protocol() const { return protocol_; }
    const Std_String& get_host() const { return host_; }
    // Names a document of this machine.
    bool is_local() const { return host_.empty(); }
    bool is_standard_input() const { return is_local() && path_ == "-"; }
    int get_port() const { return port_; } // 0 for local documents
    // Without the "/" behind the host.
    const Std_String& get_path() const { return path_; }
    // Of "d/name.ext.gz": "name", "ext" and "gz". A compressed name without an extension of its
    // own, such as "name.gz", has neither name nor extension.
    const Std_String& get_name() const { return name_; }
    const Std_String& get_extension() const { return extension_; }
    const Std_String& get_compression() const { return compression_; }

    // Makes the document readable through get_file, closing it first if it is open. The path "-"
    // is the standard input.
    // On failure: is_open is false; one report, but none for a local file that cannot be read, such
    // as a folder or a pipe. So also for a port that there is not, a path with a line feed, and a
    // server that does not answer for 40 seconds. Of an answer that breaks off, what came is the
    // document.
    void open();
    // Reports that the document is not whole, if it was read to its end and could not be unpacked
    // or read any further. Requires: is_open().
    void close();
    bool is_open() const { return file_ != nullptr; }
    // Whether nothing was found missing since the last open: false once it was reported that the
    // document breaks off, is over a limit, or could not be unpacked or read. Kept by close.
    bool is_whole() const { return is_whole_; }
    // Lifetime: until close, which is not fclose.
    std::FILE* get_file() const { return file_; }
    // The next bytes of get_file, at most `count`, and 0 at the end. That is also where the
    // document cannot be read any further, and where one of this machine, or a compressed one, has
    // become larger than std_limits allows: both are reported, once.
    // Requires: is_open().
    std::size_t read(char* to, std::size_t count);

    // How many bytes the document has, or -1 where that is not known, as of what is unpacked on the
    // way or comes through a pipe. Requires: is_open().
    long long get_size() const;

    // The ways that open takes.
    void local_open();
    void ftp_open();
    void http_open();

private:
    bool parse_bare();
    bool parse_with_host();
    void clear_fields();
    void derive_names();
    void open_document(int document);
    void tell_failure(const char* what, const char* reason);

    bool valid_ = false;
    Std_String url_string_, protocol_, host_;
    int port_ = 0;
    Std_String path_, name_, extension_, compression_;
    std::FILE* file_ = nullptr;
    Std_Filter unpacking_;          // gives the file, if there is anything to unpack
    const char* command_ = nullptr; // that unpacks it
    long long may_come_ = 0;        // bytes, by the limits
    bool is_ended_ = false;         // as far as read is concerned
    bool is_whole_ = true;
};

std::ostream& operator<<(std::ostream& out, const Std_URL& url);
// "Nil" and a line feed for null.
std::ostream& operator<<(std::ostream& out, const Std_URL* url);

#endif
