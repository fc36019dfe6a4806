#pragma once

/// The viewer's shading programs (GLSL 3.30).
namespace Vorta::Shaders {

/// Points and corners of triangles alike: place, width, and the colour the point has or its depth stands for.
inline constexpr char vertex[] = R"(#version 330 core
layout(location = 0) in vec3 position;
layout(location = 1) in vec4 bgra;
uniform mat4 eye;
uniform mat4 projection;
uniform float pointScale;
uniform float widestPoint;
uniform bool colored;
uniform vec2 depthRange;
out vec3 color;
out vec3 eyePosition;

// Light for near, through green and blue to dark for far: lightness falls evenly, so that shape shows in it.
vec3 depthColor(float z)
{
    const vec3 stops[5] = vec3[5](vec3(0.98, 0.93, 0.62), vec3(0.56, 0.83, 0.44), vec3(0.16, 0.65, 0.55),
                                  vec3(0.18, 0.42, 0.58), vec3(0.27, 0.20, 0.44));
    float t = 4.0 * clamp((z - depthRange.x) / (depthRange.y - depthRange.x), 0.0, 1.0);
    int i = min(int(t), 3);
    return mix(stops[i], stops[i + 1], t - float(i));
}

void main()
{
    vec4 inEye = eye * vec4(position, 1.0);
    eyePosition = inEye.xyz;
    gl_Position = projection * inEye;
    gl_PointSize = clamp(pointScale / inEye.z, 1.0, widestPoint);
    color = colored ? bgra.bgr : depthColor(position.z);
}
)";

inline constexpr char pointFragment[] = R"(#version 330 core
in vec3 color;
out vec4 fragment;

void main()
{
    fragment = vec4(color, 1.0);
}
)";

/// Without colours of its own the surface is lit by a lamp at the eye, so that its slope shows.
inline constexpr char meshFragment[] = R"(#version 330 core
in vec3 color;
in vec3 eyePosition;
uniform bool colored;
out vec4 fragment;

void main()
{
    float light = 1.0;
    if (!colored) {
        vec3 normal = normalize(cross(dFdx(eyePosition), dFdy(eyePosition)));
        light = 0.25 + 0.75 * abs(dot(normal, normalize(eyePosition)));
    }
    fragment = vec4(light * color, 1.0);
}
)";

} // namespace Vorta::Shaders
