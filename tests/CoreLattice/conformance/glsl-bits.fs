/*{ "DESCRIPTION": "Whole numbers by their bits", "CREDIT": "Tovrin", "ISFVSN": "2", "CATEGORIES": [ "Conformance" ], "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/

uint hash(uint x) { x ^= x >> 16u; x *= 0x7feb352du; x ^= x >> 15u; return x; }
void main() {
	int x = int(gl_FragCoord.x);
	int y = int(gl_FragCoord.y);
	int pattern = (x ^ y) & 0x1F;
	int mask = ~0 << 3;
	pattern |= (x >> 2) % 3;
	pattern &= mask | 7;
	float noise = float(hash(uint(x + y * 64)) & 255u) / 255.0;
	gl_FragColor = vec4(float(pattern) / 31.0, noise, IMG_THIS_PIXEL(inputImage).b, 1.0);
}
