// OpenGL with all of its functions declared: those beyond version 1.1 stand in an extension header.
#ifndef TOOLS_VIEWER_GL_H
#define TOOLS_VIEWER_GL_H

#define GL_GLEXT_PROTOTYPES
#include <SDL.h>
#include <SDL_opengl.h>
#include <SDL_opengl_glext.h>

// Of two shaders. 0 on failure.
GLuint link_shaders(const char* vertex, const char* fragment);

#endif
