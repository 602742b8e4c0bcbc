
 amf = {
	"type" : "package",
	"content" : 
	[
		{
			"type" : "message",
			"length" : 14,
			"targetUri" : "same",
			"responseUri" : "/5",
			"value" : 
			{
				"type" : "array",
				"array_type" : "strict",
				"value" : 
				[
					{
						"version" : "AMF3",
						"type" : "string",
						"value" : "ab"
					},
					{
						"type" : "string",
						"reference" : 0,
						{
							"version" : "AMF3",
							"type" : "string",
							"value" : "ab"
						},null
					}
				]
			}
		}
	],


amf.content[0].targetUri = "same";
amf.content[0].responseUri = "/5";
amf.content[0].value.value[0].value = "ab";
amf.content[0].value.value[1].value = "ab";
amf.content[0].value.value[2] = null;
