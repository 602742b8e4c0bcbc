
 amf = {
	"version" : "AMF3",
	"type" : "package",
	"content" : 
	[
	]
}

