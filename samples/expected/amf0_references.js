
 amf = {
	"type" : "package",
	"content" : 
	[
		{
			"type" : "message",
			"length" : 96,
			"targetUri" : "refs",
			"responseUri" : "/3",
			"value" : 
			{
				"type" : "array",
				"array_type" : "strict",
				"value" : 
				[
					{
						"type" : "object",
						"properties" : 
						[
							{
								"type" : "property",
								"value" : 1.000000,
								"name" : "x"
							}
						]
					},
					{
						"type" : "object",
						"reference" : 0,
						"type" : "object",
						"properties" : 

						[
							{
								"type" : "property",
								"value" : 1.000000,
								"name" : "x"
							}
						]
					},
					{
						"type" : "array",
						"array_type" : "strict",
						"value" : 
						[true,null
						]
					},
					{
						"type" : "array",
						"reference" : 1,
						"type" : "array",
						"array_type" : "strict",
						"value" : 
						[true,null
						]
					},
					{
						"type" : "object",
						"classname" : "Outer",
						"properties" : 
						[
							{
								"type" : "property",

								"name" : "inner",
								"value" : 
								{
									"type" : "object",
									"properties" : 
									[
										{
											"type" : "property",
											"value" : "yes",
											"name" : "deep"
										}
									]
								}
							},
							{
								"type" : "property",
								"name" : "again",
								"value" : 
								{
									"type" : "object",
									"reference" : 2,
									"type" : "object",
									"properties" : 
									[
										{
											"type" : "property",

											"value" : "yes",
											"name" : "deep"
										}
									]
								}
							}
						]
					},
					{
						"type" : "object",
						"reference" : 3,
						"type" : "object",
						"classname" : "Outer",
						"properties" : 
						[
							{
								"type" : "property",
								"name" : "inner",
								"value" : 
								{
									"type" : "object",
									"properties" : 
									[
										{
											"type" : "property",
											"value" : "yes",

											"name" : "deep"
										}
									]
								}
							},
							{
								"type" : "property",
								"name" : "again",
								"value" : 
								{
									"type" : "object",
									"reference" : 2,
									"type" : "object",
									"properties" : 
									[
										{
											"type" : "property",
											"value" : "yes",
											"name" : "deep"
										}
									]
								}
							}
						]
					},
					{
						"type" : "array",
						"array_type" : "ECMA",
						"value" : 

						[
							{
								"type" : "property",
								"name" : "k",
								"value" : 
								{
									"type" : "array",
									"reference" : 1,
									"type" : "array",
									"array_type" : "strict",
									"value" : 
									[true,null
									]
								}
							}
						]
					},
					{
						"type" : "array",
						"reference" : 4,
						"type" : "array",
						"array_type" : "ECMA",
						"value" : 
						[
							{
								"type" : "property",

								"name" : "k",
								"value" : 
								{
									"type" : "array",
									"reference" : 1,
									"type" : "array",
									"array_type" : "strict",
									"value" : 
									[true,null
									]
								}
							}
						]
					}
				]
			}
		}
	]
}

amf.content[0].targetUri = "refs";
amf.content[0].responseUri = "/3";
amf.content[0].value.value[0].properties[0].value = 1.000000; // "x"
amf.content[0].value.value[1].properties[0].value = 1.000000; // "x"
amf.content[0].value.value[2].value[0] = true;
amf.content[0].value.value[2].value[1] = null;
amf.content[0].value.value[3].value[0] = true;
amf.content[0].value.value[3].value[1] = null;
amf.content[0].value.value[4].classname = "Outer";
amf.content[0].value.value[4].properties[0].name = "inner";
amf.content[0].value.value[4].properties[0].value.properties[0].value = "yes"; // "deep"
amf.content[0].value.value[4].properties[1].name = "again";
amf.content[0].value.value[4].properties[1].value.properties[0].value = "yes"; // "deep"
amf.content[0].value.value[5].classname = "Outer";
amf.content[0].value.value[5].properties[0].name = "inner";
amf.content[0].value.value[5].properties[0].value.properties[0].value = "yes"; // "deep"
amf.content[0].value.value[5].properties[1].name = "again";
amf.content[0].value.value[5].properties[1].value.properties[0].value = "yes"; // "deep"
amf.content[0].value.value[6].value[0].name = "k";
amf.content[0].value.value[6].value[0].value.value[0] = true;
amf.content[0].value.value[6].value[0].value.value[1] = null;
amf.content[0].value.value[7].value[0].name = "k";
amf.content[0].value.value[7].value[0].value.value[0] = true;
amf.content[0].value.value[7].value[0].value.value[1] = null;
