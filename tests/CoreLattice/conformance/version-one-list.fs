/*{
	"DESCRIPTION": "the older header",
	"CREDIT": "by Tovrin",
	"CATEGORIES": [
		"TEST-GLSL FX"
	],
	"INPUTS": [
		{
			"NAME": "inputImage",
			"TYPE": "image"
		}
	],
	"PERSISTENT_BUFFERS": [
		"bufferVariableNameA"
	],
	"PASSES": [
		{
			"TARGET":"bufferVariableNameA"
		},
		{
		}
	]
}*/
void main()
{
	if (PASSINDEX == 0)	{
		vec4 stale = IMG_THIS_PIXEL(bufferVariableNameA);
		vec4 fresh = IMG_THIS_PIXEL(inputImage);
		gl_FragColor = mix(fresh, stale, 0.7);
	}
	else
		gl_FragColor = IMG_NORM_PIXEL(bufferVariableNameA, vv_FragNormCoord);
}
