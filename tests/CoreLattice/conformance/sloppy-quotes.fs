/*{
	INPUTS: [ { 'NAME': 'inputImage', 'TYPE': "image" }, { NAME: other, LABEL: "it's", TYPE: 'float', DEFAULT: True }, { "NAME": "amount", "TYPE": "float", "DEFAULT": 1.0 } ]
}*/
void main() { gl_FragColor = IMG_THIS_PIXEL(inputImage).ggga * amount; }
