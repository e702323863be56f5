// load_obj FILE: how tinyobjloader reads it; see bench/load_report.h. Linked with nothing of ours,
// so that its memory comes from malloc.
#define TINYOBJLOADER_IMPLEMENTATION
#include <tiny_obj_loader.h>

#include "bench/load_report.h"

int main(int, char** argv) {
    return report_load([argv] {
        tinyobj::attrib_t attributes;
        std::vector<tinyobj::shape_t> shapes;
        std::vector<tinyobj::material_t> materials;
        std::string warning, error;
        tinyobj::LoadObj(&attributes, &shapes, &materials, &warning, &error, argv[1]);
        long long triangles = 0;
        for (const tinyobj::shape_t& shape : shapes)
            triangles += static_cast<long long>(shape.mesh.num_face_vertices.size());
        return triangles;
    });
}
