/*{
	"CREDIT": "by Tovrin",
	"INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ],
	"PERSISTENT_BUFFERS": { "tiny": { "WIDTH": "16", "HEIGHT": "$HEIGHT/8.0", "FLOAT": true }, "never": { "WIDTH": 4 } },
	"PASSES": [ { "TARGET": "tiny" }, {} ]
}*/
void main()
{
	if (PASSINDEX == 0)
		gl_FragColor = vec4(IMG_NORM_PIXEL(inputImage, vv_FragNormCoord).rgb * 0.5 + IMG_THIS_NORM_PIXEL(tiny).rgb * 0.5, 1.0);
	else
		gl_FragColor = IMG_THIS_NORM_PIXEL(tiny) + IMG_THIS_NORM_PIXEL(never);
}
