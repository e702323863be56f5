#include "tools/Viewer_Gl.h"

static bool compile(GLuint program, GLenum kind, const char* source) {
    const GLuint shader = glCreateShader(kind);
    glShaderSource(shader, 1, &source, nullptr);
    glCompileShader(shader);
    glAttachShader(program, shader);
    GLint is_compiled = GL_FALSE;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &is_compiled);
    return is_compiled == GL_TRUE;
}

GLuint link_shaders(const char* vertex, const char* fragment) {
    const GLuint program = glCreateProgram();
    if (!compile(program, GL_VERTEX_SHADER, vertex) ||
        !compile(program, GL_FRAGMENT_SHADER, fragment))
        return 0;
    GLint is_linked = GL_FALSE;
    glLinkProgram(program);
    glGetProgramiv(program, GL_LINK_STATUS, &is_linked);
    return is_linked == GL_TRUE ? program : 0;
}
