
 amf = {
	"type" : "package",
	"content" : 
	[
		{
			"type" : "message",
			"length" : 11,
			"targetUri" : "echo",
			"responseUri" : "/1",
			"value" : "say \"hi\""
		}
	]
}

amf.content[0].targetUri = "echo";
amf.content[0].responseUri = "/1";
amf.content[0].value = "say \"hi\"";
