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
uniform vec3 depthColors[5];
out vec3 color;
out vec3 eyePosition;

vec3 depthColor(float z)
{
    float t = 4.0 * clamp((z - depthRange.x) / (depthRange.y - depthRange.x), 0.0, 1.0);
    int i = min(int(t), 3);
    return mix(depthColors[i], depthColors[i + 1], t - float(i));
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
