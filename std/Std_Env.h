// The environment of the process.
#ifndef STD_STD_ENV_H
#define STD_STD_ENV_H

class Std_Env {
public:
    // An on/off or numeric variable: 0 if it is unset or begins with one of
    // 0 n N f F, else its number if that is positive, else 1.
    static int getenv_value(const char* name);

    // Sets `name`; an existing value stays when `overwrite` is 0. 0 on success.
    static int setenv(const char* name, const char* value, int overwrite);

    // Removes every entry for `name`, which is read up to its first "=".
    static void unsetenv(const char* name);
};

// Not a name of the C library, so it stands outside as well.
inline int getenv_value(const char* name) {
    return Std_Env::getenv_value(name);
}

#endif
